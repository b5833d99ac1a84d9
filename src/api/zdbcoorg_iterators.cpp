// Starting, moving, comparing, copying and freeing record handles.
#include <memory>

#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "symbols/records.h"

namespace zdb {

namespace {

/// Reports a move that failed: the record is the last one, or there is none.
bool moveFailed(ZDB& db, const AbstractZDBSymbolIterator* record) {
  return db.setLastError(record->mode == ModeSpent ? ErrorHandle : ErrorEnd, "%s",
                         record->lastMessage());
}

}  // namespace

int zdbFindFirstRecord(zdbHandle_t db, zdbSymbol_t symbol, zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return symbolGiven(call, symbol) && handOut(findFirstRecord(*db, symbol), record);
  });
}

int zdbFindLastRecord(zdbHandle_t db, zdbSymbol_t symbol, zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    return symbolGiven(call, symbol) && handOut(findLastRecord(*db, symbol), record);
  });
}

namespace {

int findSlice(const char* function, ZDB* db, zdbSymbol_t symbol, const char* const* keys,
              zdbRecord_t* record, bool backwards) {
  return handingOut(function, db, record, [&](Call call) {
    return symbolGiven(call, symbol) && keysGiven(call, symbol, keys) &&
           handOut(findRecordSlice(*db, symbol, keys, backwards), record);
  });
}

}  // namespace

int zdbFindFirstRecordSlice(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                            zdbRecord_t* record) {
  return findSlice(__func__, db, symbol, keys, record, false);
}

int zdbFindLastRecordSlice(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                           zdbRecord_t* record) {
  return findSlice(__func__, db, symbol, keys, record, true);
}

int zdbRecordMoveNext(zdbHandle_t db, zdbRecord_t record) {
  return guarded(__func__, db, [&](Call call) {
    if (!recordGiven(call, record)) return false;
    // Only a walk of the labels asks how many there are.
    if (record->moveNext(record->mode == ModeUniverse ? db->highestLabel() : 0)) [[likely]]
      return true;
    moveFailed(*db, record);
    return false;
  });
}

int zdbRecordMovePrev(zdbHandle_t db, zdbRecord_t record) {
  return guarded(__func__, db, [&](Call call) {
    if (!recordGiven(call, record)) return false;
    return record->movePrev() || moveFailed(*db, record);
  });
}

int zdbRecordHasNext(zdbHandle_t db, zdbRecord_t record) {
  return guarded(__func__, db, [&](Call call) {
    return recordGiven(call, record) && record->hasNext(db->labels());
  });
}

int zdbRecordHasPrev(zdbHandle_t db, zdbRecord_t record) {
  return guarded(__func__, db,
                 [&](Call call) { return recordGiven(call, record) && record->hasPrev(); });
}

int zdbSameRecord(zdbHandle_t db, zdbRecord_t first, zdbRecord_t second) {
  return guarded(__func__, db, [&](Call call) {
    return recordGiven(call, first) && recordGiven(call, second) && first->equalValues(second);
  });
}

int zdbCopySymbolIterator(zdbHandle_t db, zdbRecord_t source, zdbRecord_t* record) {
  return handingOut(__func__, db, record, [&](Call call) {
    if (source == nullptr)
      return db->setLastError(ErrorArgument, "No source symbol record handle specified");
    return symbolIsThere(call, source) && handOut(ZDB::symbolIteratorFactory(source), record);
  });
}

int zdbFreeSymbolIterator(zdbHandle_t db, zdbRecord_t record) {
  return guarded(__func__, db, [&](Call) {
    if (record == nullptr)
      return db->setLastError(ErrorArgument, "No iterator to be freed defined");
    std::default_delete<AbstractZDBSymbolIterator>()(record);
    return true;
  });
}

}  // namespace zdb
