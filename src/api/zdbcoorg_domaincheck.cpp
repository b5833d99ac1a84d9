#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "symbols/domaincheck.h"
#include "symbols/domainviolation.h"

// Finding records outside their domains and walking them.
namespace zdb {

namespace {

bool violationGiven(Call call, const DomainViolation* violation) {
  if (violation == nullptr) return call.db.setLastError("No domain violation handle specified");
  return violation->database() == &call.db ||
         call.db.setLastError("%s: the domain violation handle is one of another database",
                              call.function);
}

/// A handle that still stands on a violating record.
bool validViolation(Call call, const DomainViolation* violation) {
  if (!violationGiven(call, violation)) return false;
  return violation->record() != nullptr || call.db.setLastError("No valid violation handle");
}

bool report(bool searched, bool found, int* out) {
  *out = found ? 1 : 0;
  return searched;
}

}  // namespace

int zdbCheckDBDV(zdbHandle_t db, int* hasViolation) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(hasViolation, "hasViolation")) return false;
    bool found = false;
    const bool searched = checkDomains(*db, found);
    return report(searched, found, hasViolation);
  });
}

int zdbCheckSymbolDV(zdbHandle_t db, zdbSymbol_t symbol, int* hasViolation) {
  return guarded(__func__, db, [&](Call call) {
    if (!symbolGiven(call, symbol) || !call.given(hasViolation, "hasViolation")) return false;
    bool found = false;
    const bool searched = checkDomains(*db, symbol, found);
    return report(searched, found, hasViolation);
  });
}

int zdbGetFirstDBDV(zdbHandle_t db, zdbDV_t* violation) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(violation, "violation") && findViolation(*db, violation);
  });
}

zdbDV_t zdbGetFirstDBDVPy(zdbHandle_t db, int* status) {
  return pyTwin<DomainViolation>(__func__, db, status,
                                 [&](zdbDV_t* out) { return zdbGetFirstDBDV(db, out); });
}

int zdbGetFirstDVInSymbol(zdbHandle_t db, zdbSymbol_t symbol, zdbDV_t* violation) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(violation, "violation")) return false;
    *violation = nullptr;
    return symbolGiven(call, symbol) && findViolation(*db, symbol, violation);
  });
}

zdbDV_t zdbGetFirstDVInSymbolPy(zdbHandle_t db, zdbSymbol_t symbol, int* status) {
  return pyTwin<DomainViolation>(
      __func__, db, status, [&](zdbDV_t* out) { return zdbGetFirstDVInSymbol(db, symbol, out); });
}

int zdbDomainCheckDone(zdbHandle_t db) {
  return guarded(__func__, db, [&](Call) {
    endDomainCheck(*db);
    return true;
  });
}

int zdbGetFirstDVInNextSymbol(zdbHandle_t db, zdbDV_t violation, int* found) {
  return guarded(__func__, db, [&](Call call) {
    if (!violationGiven(call, violation) || !call.given(found, "found")) return false;
    bool isFound = false;
    const bool searched = moveToNextSymbol(*db, *violation, isFound);
    return report(searched, isFound, found);
  });
}

int zdbMoveNextDVInSymbol(zdbHandle_t db, zdbDV_t violation, int* found) {
  return guarded(__func__, db, [&](Call call) {
    if (!violationGiven(call, violation) || !call.given(found, "found")) return false;
    const bool refreshed = violation->refreshDomains();
    return report(refreshed, refreshed && violation->moveNext(), found);
  });
}

int zdbFreeDVHandle(zdbHandle_t db, zdbDV_t violation) {
  return guarded(__func__, db, [&](Call call) {
    if (!violationGiven(call, violation)) return false;
    freeViolation(*db, violation);
    return true;
  });
}

int zdbGetDVSymbol(zdbHandle_t db, zdbDV_t violation, zdbSymbol_t* symbol) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(symbol, "symbol")) return false;
    *symbol = nullptr;
    return validViolation(call, violation) && handOut(violation->symbol(), symbol);
  });
}

zdbSymbol_t zdbGetDVSymbolPy(zdbHandle_t db, zdbDV_t violation, int* status) {
  return pyTwin<AbstractZDBSymbol>(
      __func__, db, status, [&](zdbSymbol_t* out) { return zdbGetDVSymbol(db, violation, out); });
}

int zdbGetDVSymbolRecord(zdbHandle_t db, zdbDV_t violation, zdbRecord_t* record) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(record, "record")) return false;
    *record = nullptr;
    return validViolation(call, violation) &&
           handOut(ZDB::symbolIteratorFactory(violation->record()), record);
  });
}

zdbRecord_t zdbGetDVSymbolRecordPy(zdbHandle_t db, zdbDV_t violation, int* status) {
  return pyTwin<AbstractZDBSymbolIterator>(__func__, db, status, [&](zdbRecord_t* out) {
    return zdbGetDVSymbolRecord(db, violation, out);
  });
}

int zdbGetDVIndicator(zdbHandle_t db, zdbDV_t violation, int* indicator) {
  return guarded(__func__, db, [&](Call call) {
    if (!validViolation(call, violation) || !call.given(indicator, "indicator") ||
        !violation->refreshDomains()) {
      return false;
    }
    violation->indicate(indicator);
    return true;
  });
}

}  // namespace zdb
