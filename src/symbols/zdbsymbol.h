#pragma once

#include <string>
#include <utility>

#include "core/abstractzdbsymbol.h"
#include "symbols/recordplacing.h"
#include "symbols/slice.h"
#include "symbols/storagetraits.h"

namespace zdb {

/// A symbol whose records are in a container `Map` with the iterator `It`; instantiated once per
/// storage. Everything that does not depend on the storage is in AbstractZDBSymbol and ZDB.
template <class Map, class It>
class ZDBSymbol final : public AbstractZDBSymbol {
 public:
  static constexpr bool kRecordsMove = StorageOf<It>::kRecordsMove;

  ZDBSymbol(ZDB* owner, const std::string& symbolName, int dimension, int typeCode, int position,
            int info, const std::string& text);

  void clear() override;
  bool isEnd(const AbstractZDBSymbolIterator* it) override;
  bool isEnd(const dmap::IDMapIterator& it) override { return end_ == it; }
  bool isBegin(const dmap::IDMapIterator& it) override { return records_.begin() == it; }
  bool empty() const override { return records_.empty(); }
  int size() const override { return static_cast<int>(records_.size()); }
  void addRecord(const int* keys, const double* values) override { storeRow(keys, values, false); }
  void addRecordEnd(const int* keys, const double* values) override { append(keys, values); }
  void forEachRecordKeys(KeyVisitor visit) override;
  void forEachRecord(RecordVisitor visit) override;
  bool forEachRecordPred(RecordPredicate visit) override;
  void forEachRecordValues(ValueVisitor visit) override;
  AbstractZDBSymbolIterator* find(const int* keys) override;
  AbstractZDBSymbolIterator* getBegin() override;
  AbstractZDBSymbolIterator* findSlice(const int* keys) override;
  std::pair<bool, double*> mergeRecord(int* keys, const double* variableDefaults,
                                       const double* equationDefaults,
                                       AbstractZDBSymbolIterator** out) override;
  AbstractZDBSymbolIterator* addRecord(int* keys, const double* variableDefaults,
                                       const double* equationDefaults) override;
  AbstractZDBSymbolIterator* addRecordRaw(const int* keys, const double* values,
                                          bool overwrite) override;
  void addRecordLastIt(const int* keys, const double* values) override { append(keys, values); }
  AbstractZDBSymbolIterator* getLast() override;
  AbstractZDBSymbolIterator* findSliceBackwards(const int* keys) override;
  dmap::StorageTypes getStorageType() const override { return records_.getStorageType(); }
  bool forEachRecordPredIt(RecordPredicate visit) override { return forEachRecordPred(visit); }
  bool toNextDomainViolation(AbstractZDBSymbolIterator* handle) override;
  void deleteRecord(AbstractZDBSymbolIterator* handle) override;
  void assignRecords(AbstractZDBSymbol* other) override;
  void takeRecords(AbstractZDBSymbol& other) override;
  double* storeRow(const int* keys, const double* values, bool overwrite) override;
  RecordSink appender() override { return RecordSink::toMember<&ZDBSymbol::append>(*this); }
  std::unique_ptr<RecordRuns> runAppender(std::optional<int> expected) override;

  Map& records() { return records_; }
  const It& end() const { return end_; }
  /// To be called after a change of the container by others: if records move, so does the end.
  void recordsChanged() {
    if constexpr (kRecordsMove) end_ = records_.end();
  }
  /// Replaces all records by those of the container, which receives the old ones. Also forgets a
  /// load that failed.
  void replaceRecords(Map& records);

 private:
  AbstractZDBSymbolIterator* handleOn(const It& it);
  /// To be called before a record is added that is to get a handle: what fails adds nothing.
  static void makeRoomForHandle();
  AbstractZDBSymbolIterator* sliceHandleOn(const It& it, const Slice& slice);
  Placed<It> place(const int* keys, const double* values, bool overwrite);
  void append(const int* keys, const double* values);
  void erase(const It& it);
  /// To be called after all records have been replaced.
  void contentsReplaced();
  template <class Source>
  void copyFrom(AbstractZDBSymbol* other);

  Map records_;
  It end_;
};

}  // namespace zdb
