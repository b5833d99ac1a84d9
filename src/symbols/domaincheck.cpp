#include <algorithm>

#include "core/zdb.h"
#include "symbols/domainviolation.h"

// Finding records that lie outside the domains of their symbol.
namespace zdb {

namespace {

using RecordHandle = std::unique_ptr<AbstractZDBSymbolIterator>;

/// The set behind a domain, where it is one that can be checked.
AbstractZDBSymbol* checkedSet(const AbstractZDBSymbol* domain) {
  if (domain == nullptr || domain->aliasTarget->isUniverse()) return nullptr;
  return domain->aliasTarget->isDomain ? domain->aliasTarget : nullptr;
}

void buildLookup(AbstractZDBSymbol* set, int labels) {
  std::vector<int> lookup(static_cast<std::size_t>(labels), 0);
  set->forEachRecordKeys([&](const int* keys) {
    if (keys[0] >= 0 && keys[0] < labels) lookup[static_cast<std::size_t>(keys[0])] = 1;
  });
  set->domainLookup = std::move(lookup);
}

void dropLookup(AbstractZDBSymbol* set) {
  set->domainLookup = {};
}

}  // namespace

bool noteDomainLabels(const AbstractZDBSymbol& symbol) {
  for (const AbstractZDBSymbol* domain : symbol.domains) {
    AbstractZDBSymbol* set = checkedSet(domain);
    if (set == nullptr) continue;
    if (!set->isLoaded) {
      if (!set->database->LoadSymbol(set)) return false;
      dropLookup(set);
    }
    if (set->domainLookup.empty()) buildLookup(set, set->database->labels().size());
  }
  return true;
}

bool ZDB::prepareDomainLookups(AbstractZDBSymbol* symbol) {
  dropDomainLookups(symbol);  // another check may have left what was true then
  return noteDomainLabels(*symbol);
}

void ZDB::dropDomainLookups(const AbstractZDBSymbol* symbol) const {
  if (domainCheckInProgress_) return;
  for (const AbstractZDBSymbol* domain : symbol->domains) {
    if (domain != nullptr) dropLookup(domain->aliasTarget);
  }
}

bool ZDB::findViolation(AbstractZDBSymbol* symbol, RecordHandle& record) {
  record.reset();
  if (symbol->isAlias()) return true;  // its records are those of its set
  if (!ensureLoaded(symbol) || !prepareDomainLookups(symbol)) return false;
  record.reset(symbol->getBegin());
  if (!record || symbol->violatesDomains(record->getKeys())) return true;
  if (!symbol->toNextDomainViolation(record.get())) record.reset();
  return true;
}

bool ZDB::GetFirstDVInSymbol(AbstractZDBSymbol* symbol, DomainViolation** violation) {
  *violation = nullptr;
  RecordHandle record;
  const bool searched = findViolation(symbol, record);
  if (record) {
    *violation = new DomainViolation(std::move(record));
  } else {
    dropDomainLookups(symbol);
  }
  return searched;
}

bool ZDB::CheckSymbolDV(AbstractZDBSymbol* symbol, bool& found) {
  DomainViolation* violation = nullptr;
  const bool searched = GetFirstDVInSymbol(symbol, &violation);
  found = violation != nullptr;
  if (found) FreeDVHandle(violation);
  return searched;
}

bool ZDB::nextSymbol(const AbstractZDBSymbol* after, AbstractZDBSymbol*& symbol) {
  const int from = after == nullptr || after->isUniverse() ? 0 : after->number + 1;
  for (int i = from; i < symbols_.size(); ++i) {
    symbol = symbols_[i];
    if (symbol->dim < 1 || symbol->isAlias()) continue;
    const bool hasDomain = std::any_of(
        symbol->domains.begin(), symbol->domains.end(),
        [this](const auto* domain) { return domain != nullptr && domain != universe(); });
    if (!hasDomain) continue;
    if (!ensureLoaded(symbol)) return false;
    if (!symbol->empty()) return true;
  }
  symbol = nullptr;
  return true;
}

bool ZDB::findViolationAfter(const AbstractZDBSymbol* after, RecordHandle& record) {
  record.reset();
  AbstractZDBSymbol* symbol = nullptr;
  for (;;) {
    if (!nextSymbol(after, symbol)) return false;
    if (symbol == nullptr) return true;
    if (!findViolation(symbol, record)) return false;
    if (record) return true;
    dropDomainLookups(symbol);
    after = symbol;
  }
}

bool ZDB::GetFirstDBDV(DomainViolation** violation) {
  *violation = nullptr;
  if (!domainCheckInProgress_) dropAllDomainLookups();  // made for single symbols, perhaps long ago
  domainCheckInProgress_ = true;
  RecordHandle record;
  if (!findViolationAfter(nullptr, record)) return false;
  if (record) *violation = new DomainViolation(std::move(record));
  return true;
}

bool ZDB::GetFirstDVInNextSymbol(DomainViolation* violation, bool& found) {
  const AbstractZDBSymbol* after = symbols_[violation->symbolNumber()];
  dropDomainLookups(after);
  RecordHandle record;
  const bool searched = findViolationAfter(after, record);
  found = record != nullptr;
  violation->moveTo(std::move(record));
  return searched;
}

bool ZDB::CheckDBDV(bool& found) {
  const struct EndOfCheck {
    ZDB& db;
    ~EndOfCheck() { db.DomainCheckDone(); }
  } end{*this};
  DomainViolation* violation = nullptr;
  const bool searched = GetFirstDBDV(&violation);
  found = violation != nullptr;
  delete violation;
  return searched;
}

void ZDB::FreeDVHandle(DomainViolation* violation) {
  dropDomainLookups(symbols_[violation->symbolNumber()]);  // by number: the symbol may have gone
  delete violation;
}

void ZDB::DomainCheckDone() {
  if (!domainCheckInProgress_) return;
  dropAllDomainLookups();
  domainCheckInProgress_ = false;
}

void ZDB::dropAllDomainLookups() {
  symbols_.forEach([](AbstractZDBSymbol* symbol) {
    dropLookup(symbol->aliasTarget);
    return true;
  });
}

}  // namespace zdb
