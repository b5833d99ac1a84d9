#include "salvage.h"

#include <array>

#include "zxf/writer.h"

namespace zdb::tool {

using namespace zdb::zxfile;

namespace {

class Salvage {
 public:
  Salvage(BlockChecker& checker, const std::set<std::uint32_t>& damaged, const char* path)
      : checker_(checker),
        damaged_(damaged),
        directory_(checker.directory()),
        writer_(path, directory_.producer.c_str()) {}

  void run() {
    writer_.startLabels();
    const TextList& labels = directory_.labels.list();
    for (std::uint32_t i = 1; i <= labels.size(); ++i) writer_.addLabel(labels.at(i));
    writer_.endLabels();
    for (std::uint32_t i = 1; i <= directory_.symbols.size(); ++i) copySymbol(i);
    for (std::uint32_t i = 1; i <= directory_.texts.size(); ++i) {
      writer_.addText(directory_.texts.at(i));
    }
    writer_.publish();
  }

 private:
  void copySymbol(std::uint32_t number) {
    const SymbolEntry& symbol = directory_.symbols[number - 1];
    if (symbol.type == SymbolType::Alias) {
      writer_.addAlias(symbol.name, symbol.userInfo == 0 ? "*" : setOf(symbol).name);
      return;
    }
    writer_.startSymbol(symbol.name, symbol.text, symbol.dim, static_cast<int>(symbol.type),
                        symbol.userInfo);
    std::array<std::string, kMaxDim> names;
    forEachDomain(symbol, [&](int d, std::string_view name) { names[d] = name; });
    std::array<const char*, kMaxDim> domains{};
    for (int d = 0; d < symbol.dim; ++d) domains[d] = names[d].c_str();
    const bool isStrict = symbol.domainKind == DomainKind::Strict && hasWholeDomains(symbol);
    if (isStrict) writer_.setStrictDomains(domains.data());
    checker_.check(
        number, [&](const Block& block) { copyRecords(block, symbol); }, [](const Damage&) {});
    writer_.endSymbol(neutralSpecials());
    if (!isStrict && symbol.domainKind != DomainKind::None)
      writer_.setRelaxedDomains(static_cast<int>(number), domains.data());
  }

  void copyRecords(const Block& block, const SymbolEntry& symbol) {
    std::array<double, 5> values{};
    for (std::uint32_t i = 0; i < block.count; ++i) {
      const int* key = block.rows.data() + std::size_t{i} * symbol.dim;
      for (int c = 0; c < valueWidth(symbol.type); ++c) values[c] = block.columns[c][i];
      const Errc reason = writer_.addRecord(key, values.data(), neutralSpecials());
      if (reason != Errc::None) fail(reason, writer_.describeRecord(key));
    }
  }

  const SymbolEntry& setOf(const SymbolEntry& alias) const {
    return directory_.symbols[static_cast<std::size_t>(alias.userInfo) - 1];
  }

  bool hasWholeDomains(const SymbolEntry& symbol) const {
    bool areWhole = true;
    forEachDomain(symbol, [&](int, std::string_view name) {
      std::uint32_t number = directory_.names.find(name);
      if (number == 0) return;  // all labels
      const SymbolEntry& set = directory_.symbols[number - 1];
      if (set.type == SymbolType::Alias) number = static_cast<std::uint32_t>(set.userInfo);
      areWhole = areWhole && !damaged_.contains(number);
    });
    return areWhole;
  }

  BlockChecker& checker_;
  const std::set<std::uint32_t>& damaged_;
  const Directory& directory_;
  Writer writer_;
};

}  // namespace

void salvage(BlockChecker& checker, const std::set<std::uint32_t>& damaged, const char* path) {
  Salvage(checker, damaged, path).run();
}

}  // namespace zdb::tool
