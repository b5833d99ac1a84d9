// Finding and walking records that are outside their domains.
#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "symbols/domaincheck.h"
#include "symbols/domainviolation.h"

namespace zdb {

namespace {

bool violationGiven(Call call, const DomainViolation* violation) {
  if (violation == nullptr)
    return call.db.setLastError(ErrorArgument, "No domain violation handle specified");
  return violation->database() == &call.db ||
         call.db.setLastError(ErrorHandle,
                              "%s: the domain violation handle is one of another database",
                              call.function);
}

/// Whether a handle still has a violating record.
bool validViolation(Call call, const DomainViolation* violation) {
  if (!violationGiven(call, violation)) return false;
  return violation->record() != nullptr ||
         call.db.setLastError(ErrorHandle, "No valid violation handle");
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
  return handingOut(__func__, db, violation, [&](Call) { return findViolation(*db, violation); });
}

int zdbGetFirstDVInSymbol(zdbHandle_t db, zdbSymbol_t symbol, zdbDV_t* violation) {
  return handingOut(__func__, db, violation, [&](Call call) {
    return symbolGiven(call, symbol) && findViolation(*db, symbol, violation);
  });
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
  return handingOut(__func__, db, symbol, [&](Call call) {
    return validViolation(call, violation) && handOut(violation->symbol(), symbol);
  });
}

int zdbGetDVSymbolRecord(zdbHandle_t db, zdbDV_t violation, zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return validViolation(call, violation) &&
           handOut(ZDB::symbolIteratorFactory(violation->record()), record);
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
