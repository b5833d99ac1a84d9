#include <algorithm>

#include "core/zdb.h"
#include "symbols/defaultrows.h"
#include "symbols/zdbsymboliterator.h"

// Adding, finding and deleting records.
namespace zdb {

bool ZDB::mergeKeys(const char* const* texts, int dim, int* keys) {
  for (int i = 0; i < dim; ++i) {
    if (!labels_.merge(texts[i], keys[i])) return false;
  }
  return true;
}

bool ZDB::canTakeRecords(AbstractZDBSymbol* symbol) {
  if (!symbol->isAlias()) [[likely]]
    return ensureLoaded(symbol);
  // Records of an alias would be seen by nobody and be written nowhere.
  return setLastError("Cannot add records to alias %s", symbol->name.c_str());
}

AbstractZDBSymbolIterator* ZDB::AddRecord(AbstractZDBSymbol* symbol, const char* const* texts) {
  int keys[kMaxDim];
  if (!canTakeRecords(symbol) || !mergeKeys(texts, symbol->dim, keys)) return nullptr;
  AbstractZDBSymbolIterator* record = symbol->addRecord(keys, defaultVariableRow(symbol->userInfo),
                                                        defaultEquationRow(symbol->userInfo));
  if (record == nullptr) {
    setLastError("Record %s exists already for symbol %s", joinKeys(texts, symbol->dim).c_str(),
                 symbol->name.c_str());
    return nullptr;
  }
  markWritten(symbol);
  return record;
}

std::pair<bool, double*> ZDB::MergeRecord(AbstractZDBSymbol* symbol, const char* const* texts,
                                          AbstractZDBSymbolIterator** out) {
  int keys[kMaxDim];
  if (!canTakeRecords(symbol) || !mergeKeys(texts, symbol->dim, keys)) return {false, nullptr};
  const auto merged = symbol->mergeRecord(keys, defaultVariableRow(symbol->userInfo),
                                          defaultEquationRow(symbol->userInfo), out);
  if (merged.first) markWritten(symbol);
  return merged;
}

AbstractZDBSymbolIterator* ZDB::FindRecord(AbstractZDBSymbol* symbol, const char* const* texts) {
  if (symbol->isUniverse()) return findLabel(symbol, texts[0]);
  if (!hasRecords(symbol)) return nullptr;
  int keys[kMaxDim];
  if (!strKeysToUelIndices(symbol, texts, keys)) return nullptr;
  AbstractZDBSymbolIterator* record = symbol->find(keys);
  if (record == nullptr) {
    setLastError("Cannot find record %s in Symbol %s", joinKeys(texts, symbol->dim).c_str(),
                 symbol->name.c_str());
  }
  return record;
}

AbstractZDBSymbolIterator* ZDB::findLabel(AbstractZDBSymbol* universe, const char* text) {
  int label;
  if (!labels_.find(text, label)) return nullptr;
  if (label < 0) {
    setLastError("Cannot find element %s in Universe", text);
    return nullptr;
  }
  return symbolIteratorFactory(universe, label);
}

bool ZDB::hasRecords(AbstractZDBSymbol* symbol) {
  if (!ensureLoaded(symbol)) return false;
  const char* name = symbol->name.c_str();
  return !symbol->empty() ||
         setLastError("Cannot find any record in Symbol %s (%s is empty)", name, name);
}

AbstractZDBSymbolIterator* ZDB::FindRecordInt(AbstractZDBSymbol* symbol, const int* keys) {
  const int size = labels_.size();
  if (symbol->isUniverse()) {
    if (keys[0] >= 0 && keys[0] < size) return symbolIteratorFactory(symbol, keys[0]);
    setLastError("Cannot find UEL %d in Universe", keys[0]);
    return nullptr;
  }
  if (!hasRecords(symbol)) return nullptr;
  for (int i = 0; i < symbol->dim; ++i) {
    if (keys[i] >= 0 && keys[i] < size) continue;
    setLastError("Key %d for symbol %s in position %d is out of UEL List bounds (<%ld)", keys[i],
                 symbol->name.c_str(), i + 1, static_cast<long>(size));
    return nullptr;
  }
  AbstractZDBSymbolIterator* record = symbol->find(keys);
  if (record == nullptr) {
    setLastError("Cannot find record %s in Symbol %s", joinKeys(keys, symbol->dim).c_str(),
                 symbol->name.c_str());
  }
  return record;
}

const double* ZDB::rowToStore(const AbstractZDBSymbol* symbol, bool haveValues,
                              const double* values, const char* text, double* row) {
  static constexpr double zeros[kMaxValues] = {};
  if (!haveValues) {
    if (symbol->type == TypeVariable) return defaultVariableRow(symbol->userInfo);
    return symbol->type == TypeEquation ? defaultEquationRow(symbol->userInfo) : zeros;
  }
  if (symbol->type == TypeSet) {
    row[0] = SetElemText(text);
    return row;
  }
  if (specialValues_.state() == 0) return values;
  for (int i = 0; i < valueWidth(symbol->type); ++i) row[i] = specialValues_.toLibrary(values[i]);
  return row;
}

bool ZDB::AddRecordRaw(AbstractZDBSymbol* symbol, const int* keys, bool checkLabels,
                       bool haveValues, const double* values, const char* text,
                       AbstractZDBSymbolIterator** out) {
  if (!canTakeRecords(symbol)) return false;
  if (checkLabels && !uelsInRange(symbol, keys)) return false;
  double translated[kMaxValues];
  const double* row = rowToStore(symbol, haveValues, values, text, translated);
  if (out == nullptr) {
    symbol->storeRow(keys, row, haveValues);
  } else {
    *out = symbol->addRecordRaw(keys, row, haveValues);
  }
  markWritten(symbol);
  return true;
}

AbstractZDBSymbolIterator* ZDB::FindFirstRecord(AbstractZDBSymbol* symbol) {
  return findEndmost(symbol, 1, &AbstractZDBSymbol::getBegin);
}

AbstractZDBSymbolIterator* ZDB::FindLastRecord(AbstractZDBSymbol* symbol) {
  return findEndmost(symbol, highestLabel(), &AbstractZDBSymbol::getLast);
}

AbstractZDBSymbolIterator* ZDB::findEndmost(
    AbstractZDBSymbol* symbol, int label, AbstractZDBSymbolIterator* (AbstractZDBSymbol::*get)()) {
  if (symbol->isUniverse()) {
    if (highestLabel() > 0) return symbolIteratorFactory(symbol, label);
    setLastError("Cannot find a record in Universe");
    return nullptr;
  }
  return hasRecordsToWalk(symbol) ? (symbol->*get)() : nullptr;
}

bool ZDB::hasRecordsToWalk(AbstractZDBSymbol* symbol) {
  if (!ensureLoaded(symbol)) return false;
  return !symbol->empty() ||
         setLastError("Cannot find a record in Symbol %s", symbol->name.c_str());
}

bool ZDB::sliceKeys(const AbstractZDBSymbol* symbol, const char* const* texts, int* keys) {
  for (int i = 0; i < symbol->dim; ++i) {
    const bool isOpen = texts[i] != nullptr && texts[i][0] == ' ' && texts[i][1] == '\0';
    if (isOpen) {
      keys[i] = 0;
      continue;
    }
    if (!labels_.find(texts[i], keys[i])) return false;
    if (keys[i] < 0) {
      return setLastError("Cannot find slice element %s (on position %d) in Symbol %s", texts[i],
                          i + 1, symbol->name.c_str());
    }
  }
  return true;
}

AbstractZDBSymbolIterator* ZDB::FindRecordSlice(AbstractZDBSymbol* symbol, const char* const* texts,
                                                bool backwards) {
  int keys[kMaxDim];
  if (!hasRecordsToWalk(symbol) || !sliceKeys(symbol, texts, keys)) return nullptr;
  AbstractZDBSymbolIterator* record =
      backwards ? symbol->findSliceBackwards(keys) : symbol->findSlice(keys);
  if (record == nullptr) {
    setLastError("Cannot find a record for slice %s in Symbol %s",
                 joinKeys(texts, symbol->dim).c_str(), symbol->name.c_str());
  }
  return record;
}

bool ZDB::DeleteRecord(AbstractZDBSymbolIterator* record) {
  AbstractZDBSymbol* symbol = record->symbol;
  if (symbol->isUniverse()) return setLastError("Cannot delete the Universe");
  if (record->hasEnded() || record->getValues() == nullptr) {
    return setLastError("The record of this handle in symbol %s has been deleted already",
                        symbol->name.c_str());
  }
  symbol->deleteRecord(record);
  record->mode = ModeSpent;
  markWritten(symbol);
  return true;
}

}  // namespace zdb
