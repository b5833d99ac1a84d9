// Keys, texts and values of the record at a handle.
#include <algorithm>

#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"

namespace zdb {

/// The message about exhausted memory names zdbGetKeys by design, since hosts look for that.
int zdbGetRecordRaw(zdbHandle_t db, zdbRecord_t record, int dim, int* keys, double* values) {
  const auto body = [&](Call call) {
    if (!recordGiven(call, record)) return false;
    int key[kMaxDim];
    double row[kMaxValues];
    if (!record->getRecordRaw(key, row)) return noRecord(call, record);
    const int count = std::clamp(dim, 0, record->getDim());
    if (count > 0 && !call.given(keys, "keys")) return false;
    std::copy_n(key, count, keys);
    if (record->mode == ModeUniverse) return true;
    if (!call.given(values, "values")) return false;
    for (int i = 0; i < valueWidth(record->symbol->type); ++i) {
      values[i] = db->specialValues().toUser(row[i]);
    }
    return true;
  };
  return guarded(__func__, db, body, "zdbGetKeys");
}

int zdbGetKeys(zdbHandle_t db, zdbRecord_t record, int dim, char* const* keys) {
  return guarded(__func__, db, [&](Call call) {
    if (!recordGiven(call, record)) return false;
    const int count = std::clamp(dim, 0, record->getDim());
    if (count == 0) return true;
    const int* key = record->getKeys();
    if (key == nullptr) return noRecord(call, record);
    if (!call.given(keys, "keys")) return false;
    for (int i = 0; i < count; ++i) {
      if (!call.givenAt(keys[i], "keys", i)) return false;
      copyText(db->labelText(key[i]), keys[i]);
    }
    return true;
  });
}

int zdbGetKey(zdbHandle_t db, zdbRecord_t record, int position, char* key) {
  return guarded(__func__, db, [&](Call call) {
    if (!recordGiven(call, record) || !call.given(key, "key")) return false;
    if (position >= record->getDim()) return db->setLastError(ErrorArgument, "Index too large");
    if (position < 0) {
      return db->setLastError(ErrorArgument, "%s: position %d is below 0", call.function, position);
    }
    const int* numbers = record->getKeys();
    if (numbers == nullptr) return noRecord(call, record);
    copyText(db->labelText(numbers[position]), key);
    return true;
  });
}

namespace {

/// Whether a handle is at a symbol's record, not at a label of the universe.
bool symbolRecordGiven(Call call, const AbstractZDBSymbolIterator* record,
                       const char* universeText) {
  if (!recordGiven(call, record)) return false;
  return record->mode != ModeUniverse || call.db.setLastError(ErrorArgument, "%s", universeText);
}

}  // namespace

int zdbGetElemText(zdbHandle_t db, zdbRecord_t record, char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (!symbolRecordGiven(call, record,
                           "Cannot get explanatory text for records of the Universe")) {
      return false;
    }
    if (!call.given(text, "text")) return false;
    const double* row = record->getValues();
    if (row == nullptr) return noRecord(call, record);
    if (!db->GetElemText(textNumber(*row), text)) text[0] = '\0';
    return true;
  });
}

int zdbSetElemText(zdbHandle_t db, zdbRecord_t record, const char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (!symbolRecordGiven(call, record,
                           "Cannot set explanatory text for records of the Universe")) {
      return false;
    }
    if (!call.given(text, "text") || !textFits(call, text)) return false;
    double* row = record->getValues();
    if (row == nullptr) return noRecord(call, record);
    *row = db->SetElemText(text);
    db->markWritten(record->symbol);
    return true;
  });
}

namespace {

[[gnu::cold]] bool reportNoField(Call call, const AbstractZDBSymbolIterator* record) {
  if (record->mode == ModeUniverse) {
    return call.db.setLastError(ErrorArgument, "%s: records of the Universe have no values",
                                call.function);
  }
  if (record->getValues() == nullptr) return noRecord(call, record);
  return call.db.setLastError(ErrorArgument, "%s: records of symbol %s have one value, the level",
                              call.function, record->symbol->name.c_str());
}

/// The address of a field in the record's row; null and a message if there is none.
template <int Field>
double* fieldOf(Call call, AbstractZDBSymbolIterator* record) {
  if (!recordGiven(call, record)) return nullptr;
  double* row = record->getValues();
  const bool exists =
      row != nullptr && (Field == ZDB_LEVEL || Field < valueWidth(record->symbol->type));
  if (exists) [[likely]]
    return row + Field;
  reportNoField(call, record);
  return nullptr;
}

template <int Field>
int getField(const char* function, ZDB* db, AbstractZDBSymbolIterator* record, double* value) {
  return guarded(function, db, [&](Call call) {
    const double* field = fieldOf<Field>(call, record);
    if (field == nullptr || !call.given(value, "value")) return false;
    *value = db->specialValues().toUser(*field);
    return true;
  });
}

template <int Field>
int setField(const char* function, ZDB* db, AbstractZDBSymbolIterator* record, double value) {
  return guarded(function, db, [&](Call call) {
    double* field = fieldOf<Field>(call, record);
    if (field == nullptr) return false;
    *field = db->specialValues().toLibrary(value);
    db->markWritten(record->symbol);
    return true;
  });
}

}  // namespace

int zdbGetLevel(zdbHandle_t db, zdbRecord_t record, double* value) {
  return getField<ZDB_LEVEL>(__func__, db, record, value);
}
int zdbGetMarginal(zdbHandle_t db, zdbRecord_t record, double* value) {
  return getField<ZDB_MARGINAL>(__func__, db, record, value);
}
int zdbGetLower(zdbHandle_t db, zdbRecord_t record, double* value) {
  return getField<ZDB_LOWER>(__func__, db, record, value);
}
int zdbGetUpper(zdbHandle_t db, zdbRecord_t record, double* value) {
  return getField<ZDB_UPPER>(__func__, db, record, value);
}
int zdbGetScale(zdbHandle_t db, zdbRecord_t record, double* value) {
  return getField<ZDB_SCALE>(__func__, db, record, value);
}

int zdbSetLevel(zdbHandle_t db, zdbRecord_t record, double value) {
  return setField<ZDB_LEVEL>(__func__, db, record, value);
}
int zdbSetMarginal(zdbHandle_t db, zdbRecord_t record, double value) {
  return setField<ZDB_MARGINAL>(__func__, db, record, value);
}
int zdbSetLower(zdbHandle_t db, zdbRecord_t record, double value) {
  return setField<ZDB_LOWER>(__func__, db, record, value);
}
int zdbSetUpper(zdbHandle_t db, zdbRecord_t record, double value) {
  return setField<ZDB_UPPER>(__func__, db, record, value);
}
int zdbSetScale(zdbHandle_t db, zdbRecord_t record, double value) {
  return setField<ZDB_SCALE>(__func__, db, record, value);
}

}  // namespace zdb
