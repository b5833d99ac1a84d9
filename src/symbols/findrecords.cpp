// Finding records by key, by position and by slice.
#include "symbols/records.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

namespace {

AbstractZDBSymbolIterator* findLabel(ZDB& db, AbstractZDBSymbol* universe, const char* text) {
  int label;
  if (!db.labels().find(text, label)) return nullptr;
  if (label >= 0) return ZDB::symbolIteratorFactory(universe, label);
  db.setLastError(ErrorNotFound, "Cannot find element %s in Universe", text);
  return nullptr;
}

bool hasRecords(ZDB& db, AbstractZDBSymbol* symbol) {
  if (!db.ensureLoaded(symbol)) return false;
  const char* name = symbol->name.c_str();
  return !symbol->empty() ||
         db.setLastError(ErrorNotFound, "Cannot find any record in Symbol %s (%s is empty)", name,
                         name);
}

/// The record with this key; `key` is the caller's form of it, which the message shows.
template <typename Key>
AbstractZDBSymbolIterator* findByKey(ZDB& db, AbstractZDBSymbol* symbol, const int* keys,
                                     const Key* given) {
  AbstractZDBSymbolIterator* record = symbol->find(keys);
  if (record == nullptr) {
    db.setLastError(ErrorNotFound, "Cannot find record %s in Symbol %s",
                    db.joinKeys(given, symbol->dim).c_str(), symbol->name.c_str());
  }
  return record;
}

AbstractZDBSymbolIterator* findRecord(ZDB& db, AbstractZDBSymbol* symbol,
                                      const char* const* texts) {
  if (symbol->isUniverse()) return findLabel(db, symbol, texts[0]);
  int keys[kMaxDim];
  if (!hasRecords(db, symbol) || !db.strKeysToUelIndices(symbol, texts, keys)) return nullptr;
  return findByKey(db, symbol, keys, texts);
}

AbstractZDBSymbolIterator* findLabel(ZDB& db, AbstractZDBSymbol* universe, int label) {
  if (label >= 0 && label < db.labels().size()) return ZDB::symbolIteratorFactory(universe, label);
  db.setLastError(ErrorNotFound, "Cannot find UEL %d in Universe", label);
  return nullptr;
}

AbstractZDBSymbolIterator* findRecord(ZDB& db, AbstractZDBSymbol* symbol, const int* keys) {
  if (symbol->isUniverse()) return findLabel(db, symbol, keys[0]);
  if (!hasRecords(db, symbol)) return nullptr;
  const int size = db.labels().size();
  for (int i = 0; i < symbol->dim; ++i) {
    if (keys[i] >= 0 && keys[i] < size) continue;
    db.setLastError(ErrorNotFound,
                    "Key %d for symbol %s in position %d is out of UEL List bounds (<%ld)", keys[i],
                    symbol->name.c_str(), i + 1, static_cast<long>(size));
    return nullptr;
  }
  return findByKey(db, symbol, keys, keys);
}

bool hasRecordsToWalk(ZDB& db, AbstractZDBSymbol* symbol) {
  if (!db.ensureLoaded(symbol)) return false;
  return !symbol->empty() ||
         db.setLastError(ErrorNotFound, "Cannot find a record in Symbol %s", symbol->name.c_str());
}

AbstractZDBSymbolIterator* findEndmost(ZDB& db, AbstractZDBSymbol* symbol, int label,
                                       AbstractZDBSymbolIterator* (AbstractZDBSymbol::*get)()) {
  if (symbol->isUniverse()) {
    if (db.highestLabel() > 0) return ZDB::symbolIteratorFactory(symbol, label);
    db.setLastError(ErrorNotFound, "Cannot find a record in Universe");
    return nullptr;
  }
  return hasRecordsToWalk(db, symbol) ? (symbol->*get)() : nullptr;
}

bool sliceKeys(ZDB& db, const AbstractZDBSymbol* symbol, const char* const* texts, int* keys) {
  for (int i = 0; i < symbol->dim; ++i) {
    const bool isOpen = texts[i] != nullptr && texts[i][0] == ' ' && texts[i][1] == '\0';
    if (isOpen) {
      keys[i] = 0;
      continue;
    }
    if (!db.labels().find(texts[i], keys[i])) return false;
    if (keys[i] < 0) {
      return db.setLastError(ErrorNotFound,
                             "Cannot find slice element %s (on position %d) in Symbol %s", texts[i],
                             i + 1, symbol->name.c_str());
    }
  }
  return true;
}

}  // namespace

AbstractZDBSymbolIterator* ZDB::FindRecord(AbstractZDBSymbol* symbol, const char* const* texts) {
  return findRecord(*this, symbol, texts);
}

AbstractZDBSymbolIterator* ZDB::FindRecordInt(AbstractZDBSymbol* symbol, const int* keys) {
  return findRecord(*this, symbol, keys);
}

AbstractZDBSymbolIterator* findFirstRecord(ZDB& db, AbstractZDBSymbol* symbol) {
  return findEndmost(db, symbol, 1, &AbstractZDBSymbol::getBegin);
}

AbstractZDBSymbolIterator* findLastRecord(ZDB& db, AbstractZDBSymbol* symbol) {
  return findEndmost(db, symbol, db.highestLabel(), &AbstractZDBSymbol::getLast);
}

AbstractZDBSymbolIterator* findRecordSlice(ZDB& db, AbstractZDBSymbol* symbol,
                                           const char* const* texts, bool backwards) {
  int keys[kMaxDim];
  if (!hasRecordsToWalk(db, symbol) || !sliceKeys(db, symbol, texts, keys)) return nullptr;
  AbstractZDBSymbolIterator* record =
      backwards ? symbol->findSliceBackwards(keys) : symbol->findSlice(keys);
  if (record == nullptr) {
    db.setLastError(ErrorNotFound, "Cannot find a record for slice %s in Symbol %s",
                    ZDB::joinKeys(texts, symbol->dim).c_str(), symbol->name.c_str());
  }
  return record;
}

}  // namespace zdb
