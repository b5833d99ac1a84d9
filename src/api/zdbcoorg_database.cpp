// Messages, special values, information and labels: functions on the database as a whole.
#include <algorithm>
#include <optional>

#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "symbols/labelcounts.h"

namespace zdb {

int zdbGetLastError(zdbHandle_t db, char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(text, "text")) return false;
    copyText(db->lastError(), text);
    return text[0] != '\0';
  });
}

int zdbSetDebug(zdbHandle_t /*db*/, int level) {
  trace(__func__);
  ZDB::debugLevel = level;
  return 1;
}

int zdbPrintLog(zdbHandle_t db, const char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(text, "text")) return false;
    db->PrintLog(text);
    return true;
  });
}

int zdbSetSpecialValuesX(zdbHandle_t db, const double* values, int* state) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(values, "values")) return false;
    const int newState = db->specialValues().set(values);
    if (state != nullptr) *state = newState;
    return true;
  });
}

int zdbSetSpecialValues(zdbHandle_t db, const double* values) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(values, "values") && zdbSetSpecialValuesX(db, values, nullptr);
  });
}

int zdbGetSpecialValues(zdbHandle_t db, double* values) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(values, "values")) return false;
    std::ranges::copy(ZDB::iSpecValues, values);
    return true;
  });
}

int zdbGetUserSpecialValues(zdbHandle_t db, double* values) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(values, "values")) return false;
    std::ranges::copy(db->specialValues().user(), values);
    return true;
  });
}

namespace {

/// Whether symbols are still to be loaded from a source.
bool isSourceAttached(const ZDB& db) {
  return db.GetInitFrom() == FROM_ZXF || db.GetInitFrom() == FROM_DMRF;
}

std::optional<int> databaseInfo(const ZDB& db, int key) {
  switch (key) {
    case ZDB_INFO_SYMBOLS_WITHOUT_ALIASES:
      return db.symbols().nonAliasCount();
    case ZDB_INFO_LABELS:
      return db.highestLabel();
    case ZDB_INFO_SYMBOLS:
      return db.symbols().size();
    case ZDB_INFO_DEFAULT_STORAGE:
      return db.defaultStorage();
    case ZDB_INFO_SOURCE_ATTACHED:
      return isSourceAttached(db) ? 1 : 0;
    default:
      return std::nullopt;
  }
}

}  // namespace

int zdbInfo(zdbHandle_t db, int key, int* integer, double* real, char* text) {
  return guarded(__func__, db, [&](Call) {
    if (integer != nullptr) *integer = 0;
    if (real != nullptr) *real = 0.0;
    if (text != nullptr) *text = '\0';
    const std::optional<int> value = databaseInfo(*db, key);
    if (!value) {
      return db->setLastError(ErrorArgument, "infoKey needs to be between %d and %d, saw %d", 0, 5,
                              key);
    }
    if (integer != nullptr) *integer = *value;
    return true;
  });
}

int zdbMergeUel(zdbHandle_t db, const char* label, int* number) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(number, "number") && db->labels().merge(label, *number);
  });
}

int zdbFindUel(zdbHandle_t db, const char* label, int* number) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(number, "number") && db->labels().find(label, *number);
  });
}

int zdbGetUelByIndex(zdbHandle_t db, int number, char* label) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(label, "label")) return false;
    if (!db->isLabel(number)) {
      return db->setLastError(ErrorNotFound, "Uel index %d out of range [1,%d]", number,
                              db->highestLabel());
    }
    copyText(db->labels()[number], label);
    return true;
  });
}

int zdbGetSymbolsUels(zdbHandle_t db, const zdbSymbol_t* symbols, int count, int* counters,
                      int length) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(counters, "counters")) return false;
    if (count > 0 && !call.given(symbols, "symbols")) return false;
    for (int i = 0; i < count; ++i) {
      if (!symbolGiven(call, symbols[i])) return false;
    }
    return countLabels(*db, symbols, count, counters, length);
  });
}

int zdbStartWriteRecording(zdbHandle_t db) {
  return guarded(__func__, db, [&](Call) { return db->StartWriteRecording(); });
}

int zdbStopWriteRecording(zdbHandle_t db) {
  return guarded(__func__, db, [&](Call) { return db->StopWriteRecording(); });
}

}  // namespace zdb
