#include "exchangefile.h"

#include <algorithm>
#include <filesystem>

#include "blockchecker.h"
#include "console.h"
#include "contract/names.h"
#include "guess.h"

namespace zdb::tool {

using namespace zdb::zxfile;

namespace {

template <typename Work>
auto reading(const std::string& file, Work work) {
  try {
    return work();
  } catch (const ZxfError& failure) {
    const bool isInput = file == "-" && failure.code() == Errc::CannotOpenFile;
    throw ToolError(isInput ? "an exchange file cannot be read from standard input; give its name"
                            : "cannot read " + file + ": " + describe(failure, file));
  }
}

int typeOf(SymbolType type) {
  switch (type) {
    case SymbolType::Set:
      return ZDB_SET;
    case SymbolType::Parameter:
      return ZDB_PARAMETER;
    case SymbolType::Variable:
      return ZDB_VARIABLE;
    case SymbolType::Equation:
      return ZDB_EQUATION;
    case SymbolType::Alias:
      break;
  }
  return ZDB_ALIAS;
}

}  // namespace

ExchangeFile::ExchangeFile(const std::string& fileName)
    : name_(fileName),
      file_(reading(fileName, [&] { return std::make_shared<const OpenFile>(fileName.c_str()); })) {
  std::error_code unknown;
  size_ = std::filesystem::file_size(fileName, unknown);
  if (unknown) size_ = 0;
  const std::vector<SymbolEntry>& entries = file_->directory.symbols;
  symbols_.reserve(entries.size());
  for (const SymbolEntry& entry : entries) {
    symbols_.push_back(describe(entry, static_cast<int>(symbols_.size()) + 1));
  }
}

FileSymbol ExchangeFile::describe(const SymbolEntry& entry, int number) const {
  FileSymbol symbol;
  symbol.number = number;
  symbol.name = entry.name;
  symbol.type = typeOf(entry.type);
  symbol.dim = entry.dim;
  symbol.text = entry.text;
  symbol.recordCount = entry.recordCount;
  symbol.size = entry.dataSize;
  symbol.userInfo = entry.userInfo;
  symbol.domainKind = entry.domainKind;
  if (symbol.isAlias()) {
    const auto set = static_cast<std::size_t>(entry.userInfo);
    symbol.aliasOf = set == 0 ? "*" : file_->directory.symbols[set - 1].name;
    return symbol;
  }
  symbol.domains.assign(entry.dim, {"*"});
  forEachDomain(entry, [&](int d, std::string_view name) {
    const std::uint32_t set = file_->directory.names.find(name);
    const bool isSet = set != 0 && isDomainSet(file_->directory.symbols[set - 1]);
    symbol.domains[static_cast<std::size_t>(d)] = {std::string(name), !isSet && name != "*"};
  });
  return symbol;
}

FileSymbol ExchangeFile::symbol(std::string_view name) const {
  if (name == "*") {
    FileSymbol universe;
    universe.name = "*";
    universe.dim = 1;
    universe.domains = {{"*"}};
    universe.recordCount = static_cast<std::uint32_t>(labelCount());
    return universe;
  }
  const FileSymbol* found = findSymbol(name);
  if (found == nullptr) {
    Guess guess(name);
    for (const FileSymbol& each : symbols_) guess.consider(each.name);
    throw ToolError(name_ + " has no symbol " + std::string(name) +
                    (guess.text().empty() ? "; zdbcc info lists those it has" : guess.text()));
  }
  return found->isAlias() ? symbol(found->aliasOf) : *found;
}

const FileSymbol* ExchangeFile::findSymbol(std::string_view name) const {
  const std::uint32_t number = file_->directory.names.find(name);
  return number == 0 ? nullptr : &symbols_[number - 1];
}

int ExchangeFile::findLabel(std::string_view label) const {
  return static_cast<int>(file_->directory.labels.find(label));
}

int ExchangeFile::requireLabel(std::string_view label) const {
  const int number = findLabel(label);
  if (number != 0) return number;
  Guess guess(label);
  for (int i = 1; i <= labelCount(); ++i) guess.consider(this->label(i));
  throw ToolError(name_ + " has no label " + std::string(label) + guess.text());
}

FileRecords::FileRecords(const ExchangeFile& file, const FileSymbol& symbol)
    : file_(file), reader_(file.file_) {
  if (symbol.isUniverse()) {
    universe_ = file.labelCount();
  } else {
    reading(file.name(), [&] { reader_.start(symbol.number, neutralSpecials()); });
  }
}

bool FileRecords::next() {
  const bool isLeft =
      reader_.started() ? reading(file_.name(), [&] { return take(); }) : keys_[0]++ < universe_;
  if (isLeft) ++done_;
  return isLeft;
}

void FileRecords::seek(std::span<const int> leading) {
  if (reader_.started()) {
    reading(file_.name(), [&] { reader_.seek(leading, neutralSpecials()); });
  } else {
    keys_[0] = leading.empty() ? 0 : leading[0] - 1;
  }
}

bool FileRecords::take() {
  if (!reader_.ready(neutralSpecials())) return false;
  int changed = 0;
  reader_.take(keys_.data(), values_.data(), &changed);
  return true;
}

// A file may hold any number there.
std::string_view ExchangeFile::elementText(double value) const {
  const TextList& texts = file_->directory.texts;
  if (!(value >= 1 && value <= texts.size())) return "";
  return texts.at(static_cast<std::uint32_t>(value));
}

const std::array<double, ZDB_SV_COUNT>& FileRecords::specials() {
  static const std::array<double, ZDB_SV_COUNT> values = [] {
    std::array<double, ZDB_SV_COUNT> result{};
    std::copy_n(neutralSpecials().begin(), result.size(), result.begin());
    return result;
  }();
  return values;
}

}  // namespace zdb::tool
