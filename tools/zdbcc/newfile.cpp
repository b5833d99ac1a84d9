#include "newfile.h"

#include <array>

#include "blockchecker.h"
#include "console.h"
#include "entry.h"
#include "values.h"

namespace zdb::tool {

using namespace zdb::zxfile;

namespace {

[[noreturn]] void failWriting(const std::string& file, const ZxfError& failure) {
  throw ToolError("cannot write " + file + ": " + describe(failure, file));
}

Writer open(const std::string& file, const std::string& producer) {
  try {
    return Writer(file.c_str(), producer.c_str());
  } catch (const ZxfError& failure) {
    failWriting(file, failure);
  }
}

}  // namespace

template <typename Work>
void NewFile::writing(Work work) {
  try {
    work();
  } catch (const ZxfError& failure) {
    failWriting(name_, failure);
  }
}

NewFile::NewFile(const std::string& fileName, const std::string& producer)
    : name_(fileName), writer_(open(fileName, producer)) {}

void NewFile::addLabels(int count, const std::function<std::string_view(int)>& labelOf) {
  labelOf_ = labelOf;
  writing([&] {
    writer_.startLabels();
    for (int i = 1; i <= count; ++i) writer_.addLabel(labelOf(i));
    writer_.endLabels();
  });
}

void NewFile::startSymbol(const FileSymbol& symbol) {
  symbol_ = symbol;
  ++symbolCount_;
  writing([&] {
    if (symbol.isAlias()) return writer_.addAlias(symbol.name, symbol.aliasOf);
    writer_.startSymbol(symbol.name, symbol.text, symbol.dim, symbol.type, symbol.userInfo);
    setDomains(symbol);
  });
}

void NewFile::setDomains(const FileSymbol& symbol) {
  std::array<const char*, kMaxDim> names{};
  for (std::size_t d = 0; d < symbol.domains.size(); ++d) names[d] = symbol.domains[d].name.c_str();
  if (symbol.domainKind == DomainKind::Strict) writer_.setStrictDomains(names.data());
  if (symbol.domainKind == DomainKind::Relaxed) {
    writer_.setRelaxedDomains(symbolCount_, names.data());
  }
}

void NewFile::add(const int* keys, const double* values) {
  writing([&] {
    const Errc reason = writer_.addRecord(keys, values, neutralSpecials());
    if (reason == Errc::None) return;
    if (reason != Errc::DomainViolation) fail(reason, writer_.describeRecord(keys));
    Entry entry{symbol_.name};
    for (int d = 0; d < symbol_.dim; ++d) entry.labels.emplace_back(labelOf_(keys[d]));
    throw ToolError("cannot write " + name_ + ": " + entryText(entry) +
                    " is outside the domains (" + domainText(symbol_) + ")");
  });
  ++recordCount_;
}

void NewFile::add(const OrderedRecords& record) {
  if (symbol_.type != ZDB_SET) return add(record.keys(), record.values());
  double number = 0;
  writing([&] { number = textNumber(record); });
  add(record.keys(), &number);
}

double NewFile::textNumber(const OrderedRecords& record) {
  const std::string_view text = record.text();
  if (text.empty()) return 0;
  std::vector<int>& known = texts_[&record.file()];
  const auto number = static_cast<std::size_t>(record.values()[0]);
  if (known.size() <= number) known.resize(number + 1);
  if (known[number] == 0) known[number] = writer_.addText(text);
  return known[number];
}

void NewFile::endSymbol() {
  if (symbol_.isAlias()) return;
  writing([&] { writer_.endSymbol(neutralSpecials()); });
}

void NewFile::publish() {
  writing([&] { writer_.publish(); });
}

FileSize sizeOf(const ExchangeFile& file) {
  FileSize size{file.size(), file.symbols().size(), 0, file.labelCount()};
  for (const FileSymbol& symbol : file.symbols()) size.records += symbol.recordCount;
  return size;
}

}  // namespace zdb::tool
