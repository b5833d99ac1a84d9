#include "symbols/zdbsymbol.h"

#include <type_traits>

#include "dmap/storageconversion.h"
#include "symbols/defaultrows.h"
#include "symbols/runappender.h"
#include "symbols/zdbsymboliteratorimpl.h"

namespace zdb {

template <class Map, class It>
ZDBSymbol<Map, It>::ZDBSymbol(ZDB* owner, const std::string& symbolName, int dimension,
                              int typeCode, int position, int info, const std::string& text)
    : AbstractZDBSymbol(owner, symbolName, dimension, typeCode, position, info, text),
      records_(dimension, valueWidth(typeCode)),
      end_(records_.end()) {}

template <class Map, class It>
void ZDBSymbol<Map, It>::clear() {
  if constexpr (std::is_same_v<Map, dmap::DMapUTree>) {
    // Clearing a tree frees nothing, and some symbols are cleared and filled again and again.
    records_ = dmap::DMapUTree(dim, valueWidth(type));
  } else {
    records_.clear();
  }
  contentsReplaced();
}

template <class Map, class It>
void ZDBSymbol<Map, It>::contentsReplaced() {
  end_ = records_.end();
  loadFailure.reset();
  handleNotes.endHandles();
}

template <class Map, class It>
void ZDBSymbol<Map, It>::replaceRecords(Map& records) {
  records_.swapRecords(records);
  end_ = records_.end();
  loadFailure.reset();
  handleNotes.endHandles();
}

template <class Map, class It>
bool ZDBSymbol<Map, It>::isEnd(const AbstractZDBSymbolIterator* it) {
  return static_cast<const ZDBSymbolIterator<It>*>(it)->position() == end_;
}

template <class Map, class It>
bool ZDBSymbol<Map, It>::forEachRecordPred(RecordPredicate visit) {
  for (It it = records_.begin(); it != end_; ++it) {
    const dmap::VirtualPair record = *it;
    if (!visit(record.first, record.second)) return false;
  }
  return true;
}

template <class Map, class It>
void ZDBSymbol<Map, It>::forEachRecord(RecordVisitor visit) {
  for (It it = records_.begin(); it != end_; ++it) {
    const dmap::VirtualPair record = *it;
    visit(record.first, record.second);
  }
}

template <class Map, class It>
void ZDBSymbol<Map, It>::forEachRecordKeys(KeyVisitor visit) {
  forEachRecord([&](const int* keys, const double*) { visit(keys); });
}

template <class Map, class It>
void ZDBSymbol<Map, It>::forEachRecordValues(ValueVisitor visit) {
  forEachRecord([&](const int*, const double* values) { visit(values); });
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::handleOn(const It& it) {
  return it == end_ ? nullptr : new ZDBSymbolIterator<It>(this, it);
}

template <class Map, class It>
void ZDBSymbol<Map, It>::makeRoomForHandle() {
  AbstractZDBSymbolIterator::makeRoom(sizeof(ZDBSymbolIterator<It>));
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::sliceHandleOn(const It& it, const Slice& slice) {
  return new ZDBSymbolIterator<It>(this, it, slice);
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::find(const int* keys) {
  return handleOn(findRecord(records_, keys));
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::getBegin() {
  return handleOn(records_.begin());
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::getLast() {
  if (empty()) return nullptr;
  It it = end_;
  return handleOn(--it);
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::findSlice(const int* keys) {
  const Slice slice(keys, dim);
  It it = slice.prefix() == 0 ? records_.begin() : firstNotLess(records_, slice.lowest().data());
  if (it == end_) return nullptr;
  const int* first = (*it).first;
  if (slice.isPast(first)) return nullptr;
  if (slice.matches(first) || stepForward(records_, it, slice)) return sliceHandleOn(it, slice);
  return nullptr;
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::findSliceBackwards(const int* keys) {
  const Slice slice(keys, dim);
  It it = slice.prefix() == 0 ? end_ : firstNotLess(records_, slice.highest().data());
  // The bound itself can be in the slice only if a label number is the largest integer.
  if (it != end_ && slice.matches((*it).first)) return sliceHandleOn(it, slice);
  return stepBackward(records_, it, slice) ? sliceHandleOn(it, slice) : nullptr;
}

template <class Map, class It>
Placed<It> ZDBSymbol<Map, It>::place(const int* keys, const double* values, bool overwrite) {
  if (dim == 0) {
    // A scalar container overwrites on every insertion.
    if (!overwrite && !empty()) return {records_.begin(), false};
    const bool isNew = empty();
    const It at = records_.emplace(keys, values);
    recordsChanged();
    return {at, isNew};
  }
  if constexpr (kRecordsMove) handleNotes.makeRoom();
  Placed<It> placed = placeRecord(records_, keys, values, overwrite);
  if constexpr (kRecordsMove) {
    if (placed.isNew) {
      if (!(placed.at == end_)) handleNotes.noteInserted(placed.at.position());
      recordsChanged();
    }
  }
  return placed;
}

template <class Map, class It>
void ZDBSymbol<Map, It>::append(const int* keys, const double* values) {
  if constexpr (std::is_same_v<Map, dmap::DMap>) {
    records_.emplace_end(keys, values);
  } else {
    place(keys, values, dim == 0);  // of a scalar that comes twice, the last value
  }
}

template <class Map, class It>
std::unique_ptr<RecordRuns> ZDBSymbol<Map, It>::runAppender(std::optional<int> expected) {
  if constexpr (kRecordsMove) {
    return std::make_unique<VectorRunAppender>(records_, end_, expected);
  } else {
    return std::make_unique<RunAppender<Map>>(records_, dim, valueWidth(type));
  }
}

template <class Map, class It>
double* ZDBSymbol<Map, It>::storeRow(const int* keys, const double* values, bool overwrite) {
  return (*place(keys, values, overwrite).at).second;
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::addRecordRaw(const int* keys, const double* values,
                                                            bool overwrite) {
  makeRoomForHandle();
  return handleOn(place(keys, values, overwrite).at);
}

template <class Map, class It>
std::pair<bool, double*> ZDBSymbol<Map, It>::mergeRecord(int* keys, const double* variableDefaults,
                                                         const double* equationDefaults,
                                                         AbstractZDBSymbolIterator** out) {
  if (out != nullptr) makeRoomForHandle();
  const It it = place(keys, pickDefaultRow(type, variableDefaults, equationDefaults), false).at;
  if (out != nullptr) *out = handleOn(it);
  return {true, (*it).second};
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::addRecord(int* keys, const double* variableDefaults,
                                                         const double* equationDefaults) {
  makeRoomForHandle();
  const auto placed = place(keys, pickDefaultRow(type, variableDefaults, equationDefaults), false);
  return placed.isNew ? handleOn(placed.at) : nullptr;
}

template <class Map, class It>
bool ZDBSymbol<Map, It>::toNextDomainViolation(AbstractZDBSymbolIterator* handle) {
  It& it = static_cast<It&>(handle->getIterator());
  while (it != end_ && ++it != end_) {
    if (violatesDomains((*it).first)) return true;
  }
  return false;
}

template <class Map, class It>
void ZDBSymbol<Map, It>::deleteRecord(AbstractZDBSymbolIterator* handle) {
  erase(static_cast<It&>(handle->getIterator()));
  // A scalar's position is an address, which does not tell whether the record exists.
  if (dim == 0) handleNotes.endHandles();
}

template <class Map, class It>
void ZDBSymbol<Map, It>::erase(const It& it) {
  handleNotes.makeRoom();
  if constexpr (kRecordsMove) {
    const int row = it.position();
    records_.erase(it);
    if (dim > 0) handleNotes.noteErased(row);
    recordsChanged();
  } else {
    const void* address = dim > 0 ? StorageOf<It>::address(it) : nullptr;
    records_.erase(it);
    if (dim > 0) handleNotes.noteErased(address);
  }
}

template <class Map, class It>
void ZDBSymbol<Map, It>::assignRecords(AbstractZDBSymbol* other) {
  clear();
  switch (other->getStorageType()) {
    case dmap::StorageTypes::Map:
      return copyFrom<ZDBSymbol<dmap::DMap, dmap::DMapIterator>>(other);
    case dmap::StorageTypes::Vector:
      return copyFrom<ZDBSymbol<dmap::DMapVector, dmap::VectorIterator>>(other);
    case dmap::StorageTypes::Tree:
      return copyFrom<ZDBSymbol<dmap::DMapUTree, dmap::TreeIterator>>(other);
  }
}

template <class Map, class It>
void ZDBSymbol<Map, It>::takeRecords(AbstractZDBSymbol& other) {
  records_.swap(static_cast<ZDBSymbol&>(other).records_);
  contentsReplaced();
}

template <class Map, class It>
template <class Source>
void ZDBSymbol<Map, It>::copyFrom(AbstractZDBSymbol* other) {
  // For a tree, reserving is the size of all blocks to come.
  if constexpr (kRecordsMove) records_.reserve(other->size());
  dmap::copyRecords(static_cast<Source*>(other)->records(), records_);
  recordsChanged();
}

template class ZDBSymbol<dmap::DMap, dmap::DMapIterator>;
template class ZDBSymbol<dmap::DMapVector, dmap::VectorIterator>;
template class ZDBSymbol<dmap::DMapUTree, dmap::TreeIterator>;

}  // namespace zdb
