#include "core/zdb.h"
#include "io/trace.h"

// Filling a database with the contents of another one.
namespace zdb {

bool ZDB::InitFromDB(ZDB* source) {
  traceStep("---- Entering InitFromDB ----");
  if (labels_.size() > 1) {
    return setLastError("Uels present. Cannot load Uels from other database.");
  }
  if (!symbols_.empty()) {
    return setLastError("Symbols present. Cannot load symbols from other database.");
  }
  if (initFrom_ != FROM_NOSOURCE && initFrom_ != FROM_MEMORY) {
    return setLastError("Database incorrectly initialized.");
  }
  initFrom_ = FROM_MEMORY;
  labels_ = source->labels();
  // Set records hold text numbers, so the texts come along: under the same ones, unless this
  // database has texts already, from a file that held nothing else.
  std::vector<int> textNumbers;
  textNumbers.reserve(static_cast<std::size_t>(source->textPool().size()));
  for (int i = 0; i < source->textPool().size(); ++i) {
    textNumbers.push_back(SetElemText(source->textPool().get(i)));
  }
  for (int i = 0; i < source->symbols().size(); ++i) {
    if (!copySymbolFrom(*source->symbols()[i], textNumbers)) return false;
  }
  for (int i = 0; i < source->symbols().size(); ++i) {
    copyDomainsFrom(*source->symbols()[i], *source);
  }
  return true;
}

bool ZDB::copySymbolFrom(AbstractZDBSymbol& from, const std::vector<int>& textNumbers) {
  ZDB* source = from.database;
  AbstractZDBSymbol* copy = insertSymbol(symbolFactory(
      defaultStorage_, from.name, from.dim, from.type, from.number, from.userInfo, from.explText));
  if (from.isAlias()) {
    const AbstractZDBSymbol* target = from.aliasTarget;
    copy->aliasTarget = target->isUniverse() ? universe() : symbols_[target->name.c_str()];
    return true;
  }
  const bool isLoadable = source->GetInitFrom() == FROM_ZXF || source->GetInitFrom() == FROM_DMRF;
  if (!from.isLoaded && isLoadable && !source->LoadSymbol(&from)) {
    return setLastError("%s", source->lastError());
  }
  // What a model instance still holds can be had from it later, everything else is here now.
  copy->isLoaded = from.isLoaded || source->GetInitFrom() != FROM_ZMI;
  if (from.type != TypeSet || textNumbers.back() == static_cast<int>(textNumbers.size()) - 1) {
    copy->assignRecords(&from);
    return true;
  }
  from.forEachRecord([&](const int* keys, const double* values) {
    const auto number = static_cast<std::size_t>(textNumber(values[0]));
    const double row[] = {number < textNumbers.size() ? double(textNumbers[number]) : 0.0};
    copy->addRecordEnd(keys, row);
  });
  return true;
}

void ZDB::copyDomainsFrom(const AbstractZDBSymbol& from, const ZDB& source) {
  if (from.isAlias()) return;
  AbstractZDBSymbol* copy = symbols_[from.name.c_str()];
  for (int d = 0; d < from.dim; ++d) {
    AbstractZDBSymbol* domain = from.domains[d];
    if (domain == source.universe()) {
      domain = universe();
    } else if (domain != nullptr) {
      domain = symbols_[domain->name.c_str()];
      domain->isDomain = true;
      domain->aliasTarget->isDomain = true;
    }
    copy->domains[d] = domain;
    copy->domainNames[d] = from.domainNames[d];
  }
}

}  // namespace zdb
