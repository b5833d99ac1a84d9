// Adding, merging, finding and deleting records.
#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "symbols/records.h"

namespace zdb {

namespace {

constexpr const char* kAddToUniverse = "Cannot add records to the Universe";

}  // namespace

int zdbAddRecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys, zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return userSymbolGiven(call, symbol, kAddToUniverse) && keysGiven(call, symbol, keys) &&
           handOut(db->AddRecord(symbol, keys), record);
  });
}

int zdbMergeRecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                   zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return userSymbolGiven(call, symbol, "Cannot merge records to the Universe") &&
           keysGiven(call, symbol, keys) && db->MergeRecord(symbol, keys, record).first;
  });
}

int zdbMergeRecordInt(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, int checkLabels,
                      int makeHandle, zdbRecord_t* record, int haveValues, const double* values) {
  return guarded(__func__, db, [&](Call call) {
    if (makeHandle) {
      if (!call.given(record, "record")) return false;
      *record = nullptr;
    }
    if (!userSymbolGiven(call, symbol, kAddToUniverse)) return false;
    if (haveValues && symbol->type == TypeSet) {
      return db->setLastError(ErrorArgument,
                              "Cannot add set records with values. Use zdbMergeSetRecordInt");
    }
    if (!keysGiven(call, symbol, keys)) return false;
    if (haveValues && !call.given(values, "values")) return false;
    return db->AddRecordRaw(symbol, keys, checkLabels != 0, haveValues != 0, values, "",
                            makeHandle ? record : nullptr);
  });
}

int zdbMergeSetRecordInt(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, int checkLabels,
                         int makeHandle, zdbRecord_t* record, const char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (makeHandle) {
      if (!call.given(record, "record")) return false;
      *record = nullptr;
    }
    if (!userSymbolGiven(call, symbol, kAddToUniverse)) return false;
    if (symbol->type != TypeSet) {
      return db->setLastError(ErrorArgument,
                              "zdbMergeSetRecordInt can only be used with set symbols");
    }
    return keysGiven(call, symbol, keys) && call.given(text, "text") && textFits(call, text) &&
           db->AddRecordRaw(symbol, keys, checkLabels != 0, true, nullptr, text,
                            makeHandle ? record : nullptr);
  });
}

int zdbAddRecordRaw(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, const double* values,
                    const char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (!userSymbolGiven(call, symbol, kAddToUniverse)) return 0;
    if (symbol->type == TypeSet) {
      return zdbMergeSetRecordInt(db, symbol, keys, 1, 0, nullptr, text);
    }
    return zdbMergeRecordInt(db, symbol, keys, 1, 0, nullptr, 1, values);
  });
}

int zdbFindRecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                  zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return symbolGiven(call, symbol) && keysGiven(call, symbol, keys) &&
           handOut(db->FindRecord(symbol, keys), record);
  });
}

int zdbFindRecordInt(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return symbolGiven(call, symbol) && keysGiven(call, symbol, keys) &&
           handOut(db->FindRecordInt(symbol, keys), record);
  });
}

zdbRecord_t zdbFindRecordIntPy(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, int* status) {
  return pyTwin<AbstractZDBSymbolIterator>(__func__, db, status, [&](zdbRecord_t* out) {
    return zdbFindRecordInt(db, symbol, keys, out);
  });
}

int zdbDeleteRecord(zdbHandle_t db, zdbRecord_t record) {
  return guarded(__func__, db,
                 [&](Call call) { return recordGiven(call, record) && deleteRecord(*db, record); });
}

}  // namespace zdb
