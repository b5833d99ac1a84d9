// Adding, overwriting and deleting records.
#include "symbols/defaultrows.h"
#include "symbols/records.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

namespace {

bool mergeKeys(ZDB& db, const char* const* texts, int dim, int* keys) {
  for (int i = 0; i < dim; ++i) {
    if (!db.labels().merge(texts[i], keys[i])) return false;
  }
  return true;
}

bool canTakeRecords(ZDB& db, AbstractZDBSymbol* symbol) {
  if (!symbol->isAlias()) [[likely]]
    return db.ensureLoaded(symbol);
  // Records of an alias could not be seen and would not be written.
  return db.setLastError(ErrorArgument, "Cannot add records to alias %s", symbol->name.c_str());
}

AbstractZDBSymbolIterator* addRecord(ZDB& db, AbstractZDBSymbol* symbol, const char* const* texts) {
  int keys[kMaxDim];
  if (!canTakeRecords(db, symbol) || !mergeKeys(db, texts, symbol->dim, keys)) return nullptr;
  AbstractZDBSymbolIterator* record = symbol->addRecord(keys, defaultVariableRow(symbol->userInfo),
                                                        defaultEquationRow(symbol->userInfo));
  if (record == nullptr) {
    db.setLastError(ErrorExists, "Record %s exists already for symbol %s",
                    ZDB::joinKeys(texts, symbol->dim).c_str(), symbol->name.c_str());
    return nullptr;
  }
  db.markWritten(symbol);
  return record;
}

std::pair<bool, double*> mergeRecord(ZDB& db, AbstractZDBSymbol* symbol, const char* const* texts,
                                     AbstractZDBSymbolIterator** out) {
  int keys[kMaxDim];
  if (!canTakeRecords(db, symbol) || !mergeKeys(db, texts, symbol->dim, keys)) {
    return {false, nullptr};
  }
  const auto merged = symbol->mergeRecord(keys, defaultVariableRow(symbol->userInfo),
                                          defaultEquationRow(symbol->userInfo), out);
  if (merged.first) db.markWritten(symbol);
  return merged;
}

/// The row to store; `row` is room for it if it has to be made.
const double* rowToStore(ZDB& db, const AbstractZDBSymbol* symbol, bool haveValues,
                         const double* values, const char* text, double* row) {
  if (!haveValues) return defaultRow(*symbol);
  if (symbol->type == TypeSet) {
    row[0] = db.SetElemText(text);
    return row;
  }
  const SpecialValueMap& specials = db.specialValues();
  if (specials.state() == 0) return values;
  for (int i = 0; i < valueWidth(symbol->type); ++i) row[i] = specials.toLibrary(values[i]);
  return row;
}

bool storeRecord(ZDB& db, AbstractZDBSymbol* symbol, const int* keys, bool checkLabels,
                 bool haveValues, const double* values, const char* text,
                 AbstractZDBSymbolIterator** out) {
  if (!canTakeRecords(db, symbol)) return false;
  if (checkLabels && !db.uelsInRange(symbol, keys)) return false;
  double translated[kMaxValues];
  const double* row = rowToStore(db, symbol, haveValues, values, text, translated);
  if (out == nullptr) {
    symbol->storeRow(keys, row, haveValues);
  } else {
    *out = symbol->addRecordRaw(keys, row, haveValues);
  }
  db.markWritten(symbol);
  return true;
}

}  // namespace

AbstractZDBSymbolIterator* ZDB::AddRecord(AbstractZDBSymbol* symbol, const char* const* texts) {
  return addRecord(*this, symbol, texts);
}

std::pair<bool, double*> ZDB::MergeRecord(AbstractZDBSymbol* symbol, const char* const* texts,
                                          AbstractZDBSymbolIterator** out) {
  return mergeRecord(*this, symbol, texts, out);
}

bool ZDB::AddRecordRaw(AbstractZDBSymbol* symbol, const int* keys, bool checkLabels,
                       bool haveValues, const double* values, const char* text,
                       AbstractZDBSymbolIterator** out) {
  return storeRecord(*this, symbol, keys, checkLabels, haveValues, values, text, out);
}

bool deleteRecord(ZDB& db, AbstractZDBSymbolIterator* record) {
  AbstractZDBSymbol* symbol = record->symbol;
  if (symbol->isUniverse()) return db.setLastError(ErrorArgument, "Cannot delete the Universe");
  if (record->hasEnded() || record->getValues() == nullptr) {
    return db.setLastError(ErrorHandle,
                           "The record of this handle in symbol %s has been deleted already",
                           symbol->name.c_str());
  }
  symbol->deleteRecord(record);
  record->mode = ModeSpent;
  db.markWritten(symbol);
  return true;
}

}  // namespace zdb
