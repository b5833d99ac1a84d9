#include "symbols/domaincheck.h"

#include <algorithm>

#include "symbols/domainviolation.h"

namespace zdb {

namespace {

using RecordHandle = std::unique_ptr<AbstractZDBSymbolIterator>;

/// The set that a domain refers to; null if it cannot be checked.
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

void dropDomainLookups(const ZDB& db, const AbstractZDBSymbol* symbol) {
  if (db.isDomainCheckInProgress()) return;
  for (const AbstractZDBSymbol* domain : symbol->domains) {
    if (domain != nullptr) dropLookup(domain->aliasTarget);
  }
}

void dropAllDomainLookups(ZDB& db) {
  db.symbols().forEach([](AbstractZDBSymbol* symbol) {
    dropLookup(symbol->aliasTarget);
    return true;
  });
}

/// The first violating record of a symbol, or null.
bool searchSymbol(ZDB& db, AbstractZDBSymbol* symbol, RecordHandle& record) {
  record.reset();
  if (symbol->isAlias()) return true;  // it has no records of its own
  if (!db.ensureLoaded(symbol)) return false;
  dropDomainLookups(db, symbol);  // those of an earlier check may be out of date
  if (!noteDomainLabels(*symbol)) return false;
  record.reset(symbol->getBegin());
  if (!record || symbol->violatesDomains(record->getKeys())) return true;
  if (!symbol->toNextDomainViolation(record.get())) record.reset();
  return true;
}

bool hasCheckedDomain(const ZDB& db, const AbstractZDBSymbol& symbol) {
  return std::any_of(symbol.domains.begin(), symbol.domains.end(), [&db](const auto* domain) {
    return domain != nullptr && domain != db.universe();
  });
}

/// The number of the first symbol that was added after the one with this serial.
int firstAfter(ZDB& db, std::uint64_t serial) {
  int first = 0;
  for (int end = db.symbols().size(); first < end;) {
    const int middle = first + (end - first) / 2;
    if (db.symbols()[middle]->serial <= serial) {
      first = middle + 1;
    } else {
      end = middle;
    }
  }
  return first;
}

/// The next symbol to check after the one with this serial (0: from the start), or null.
bool nextSymbol(ZDB& db, std::uint64_t after, AbstractZDBSymbol*& symbol) {
  for (int i = firstAfter(db, after); i < db.symbols().size(); ++i) {
    symbol = db.symbols()[i];
    if (symbol->dim < 1 || symbol->isAlias() || !hasCheckedDomain(db, *symbol)) continue;
    if (!db.ensureLoaded(symbol)) return false;
    if (!symbol->empty()) return true;
  }
  symbol = nullptr;
  return true;
}

/// The first violating record of any symbol after `after`, or null.
bool searchSymbolsAfter(ZDB& db, std::uint64_t after, RecordHandle& record) {
  record.reset();
  AbstractZDBSymbol* symbol = nullptr;
  for (;;) {
    if (!nextSymbol(db, after, symbol)) return false;
    if (symbol == nullptr) return true;
    if (!searchSymbol(db, symbol, record)) return false;
    if (record) return true;
    dropDomainLookups(db, symbol);
    after = symbol->serial;
  }
}

/// Drops the look-ups of a violation's symbol, which may have been moved to another storage or
/// removed meanwhile.
void dropDomainLookups(ZDB& db, const DomainViolation& violation) {
  const int number = firstAfter(db, violation.symbolSerial()) - 1;
  const AbstractZDBSymbol* symbol = number < 0 ? nullptr : db.symbols()[number];
  const bool isThere = symbol != nullptr && symbol->serial == violation.symbolSerial();
  if (isThere) dropDomainLookups(db, symbol);
}

}  // namespace

bool noteDomainLabels(const AbstractZDBSymbol& symbol) {
  for (const AbstractZDBSymbol* domain : symbol.domains) {
    AbstractZDBSymbol* set = checkedSet(domain);
    if (set == nullptr) continue;
    if (!set->isLoaded) dropLookup(set);
    if (!set->database->ensureLoaded(set)) return false;
    if (set->domainLookup.empty()) buildLookup(set, set->database->labels().size());
  }
  return true;
}

bool findViolation(ZDB& db, AbstractZDBSymbol* symbol, DomainViolation** violation) {
  *violation = nullptr;
  RecordHandle record;
  const bool searched = searchSymbol(db, symbol, record);
  if (record) {
    *violation = new DomainViolation(std::move(record));
  } else {
    dropDomainLookups(db, symbol);
  }
  return searched;
}

bool findViolation(ZDB& db, DomainViolation** violation) {
  *violation = nullptr;
  // Existing look-ups are from checks of single symbols and may be out of date.
  if (!db.isDomainCheckInProgress()) dropAllDomainLookups(db);
  db.setDomainCheckInProgress(true);
  RecordHandle record;
  if (!searchSymbolsAfter(db, 0, record)) return false;
  if (record) *violation = new DomainViolation(std::move(record));
  return true;
}

bool moveToNextSymbol(ZDB& db, DomainViolation& violation, bool& found) {
  dropDomainLookups(db, violation);
  RecordHandle record;
  const bool searched = searchSymbolsAfter(db, violation.symbolSerial(), record);
  found = record != nullptr;
  violation.moveTo(std::move(record));
  return searched;
}

void freeViolation(ZDB& db, DomainViolation* violation) {
  dropDomainLookups(db, *violation);
  delete violation;
}

void endDomainCheck(ZDB& db) {
  if (!db.isDomainCheckInProgress()) return;
  dropAllDomainLookups(db);
  db.setDomainCheckInProgress(false);
}

bool checkDomains(ZDB& db, AbstractZDBSymbol* symbol, bool& found) {
  DomainViolation* violation = nullptr;
  const bool searched = findViolation(db, symbol, &violation);
  found = violation != nullptr;
  if (found) freeViolation(db, violation);
  return searched;
}

bool checkDomains(ZDB& db, bool& found) {
  const struct EndOfCheck {
    ZDB& db;
    ~EndOfCheck() { endDomainCheck(db); }
  } end{db};
  DomainViolation* violation = nullptr;
  const bool searched = findViolation(db, &violation);
  found = violation != nullptr;
  delete violation;
  return searched;
}

}  // namespace zdb
