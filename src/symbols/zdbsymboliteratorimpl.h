#pragma once

#include "symbols/slice.h"
#include "symbols/storagetraits.h"
#include "symbols/zdbsymbol.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

/// The record handle over one storage's iterator.
template <class It>
class ZDBSymbolIterator final : public AbstractZDBSymbolIterator {
 public:
  using Map = typename StorageOf<It>::Map;
  static constexpr bool kRecordsMove = StorageOf<It>::kRecordsMove;

  /// Walks every record of the symbol.
  ZDBSymbolIterator(AbstractZDBSymbol* walked, const It& position)
      : AbstractZDBSymbolIterator(ModeRecords, walked), it_(position) {}
  /// Walks a slice.
  ZDBSymbolIterator(AbstractZDBSymbol* walked, const It& position, const Slice& slice);
  /// Walks the labels.
  ZDBSymbolIterator(AbstractZDBSymbol* universe, int label)
      : AbstractZDBSymbolIterator(ModeUniverse, universe, label) {}

  dmap::IDMapIterator& getIterator() override {
    follow();
    return it_;
  }
  double* getValues() const override {
    follow();
    if (mode >= ModeUniverse) return nullptr;
    if constexpr (kRecordsMove) return it_ == walked().end() ? nullptr : (*it_).second;
    if constexpr (requires { it_.values(); }) return it_.values();
    return (*it_).second;  // null at the end
  }
  bool moveNext(int highestLabel) override;
  bool movePrev() override;
  bool hasNext(const uellist::IUELList& labels) override;
  bool equalValues(const AbstractZDBSymbolIterator* other) const override;
  int getDim() const override { return symbol->dim; }
  bool hasPrev() override;
  bool getRecordRaw(int* keys, double* values) override;
  const int* getKeys() const override;
  void assignIterator(AbstractZDBSymbolIterator* other) override;
  std::unique_ptr<AbstractZDBSymbolIterator> copy() override;
  void catchUp() const override { readNotes(); }

  const It& position() const {
    follow();
    return it_;
  }

 private:
  ZDBSymbol<Map, It>& walked() const { return *static_cast<ZDBSymbol<Map, It>*>(symbol); }
  bool isOnRecord() const {
    follow();
    return mode < ModeUniverse && it_ != walked().end();
  }
  /// Follows the record if it has moved. To be called before the position is used.
  void follow() const {
    if constexpr (kRecordsMove) {
      if (!notes.isUpToDate()) [[unlikely]]
        readNotes();
    }
  }
  void readNotes() const;
  bool failSpent();
  bool moveNextSlow(int highestLabel);
  bool nextInSlice();
  bool prevInSlice();

  mutable It it_;
};

/// Steps `it` to the next record of the slice; false at the end of the slice's run of records.
template <class Map, class It>
bool stepForward(Map& records, It& it, const Slice& slice) {
  const It end = records.end();
  for (++it; it != end; ++it) {
    const int* key = (*it).first;
    if (slice.isPast(key)) return false;
    if (slice.matches(key)) return true;
  }
  return false;
}

/// Steps `it` back to the previous record of the slice; false at the start of the run.
template <class Map, class It>
bool stepBackward(Map& records, It& it, const Slice& slice) {
  const It begin = records.begin();
  while (it != begin) {
    --it;
    const int* key = (*it).first;
    if (slice.isPast(key)) return false;
    if (slice.matches(key)) return true;
  }
  return false;
}

}  // namespace zdb
