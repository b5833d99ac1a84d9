#include "symbols/zdbsymbol.h"

#include "dmap/dmap.h"
#include "symbols/zdbsymboliteratorimpl.h"

namespace zdb {

template <class Map, class It>
ZDBSymbol<Map, It>::ZDBSymbol(ZDB* owner, const std::string& symbolName, int dimension,
                              int typeCode, int position, int info, const std::string& text)
    : AbstractZDBSymbol(owner, symbolName, dimension, typeCode, position, info, text),
      records_(dimension, valueWidth(typeCode)),
      end_(records_.end()) {}

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
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::sliceHandleOn(const It& it, const Slice& slice) {
  return new ZDBSymbolIterator<It>(this, it, slice);
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::find(const int* keys) {
  return handleOn(records_.find(keys));
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
  It it = slice.prefix() == 0 ? records_.begin() : records_.lower_bound(slice.lowest().data());
  if (it == end_) return nullptr;
  const int* first = (*it).first;
  if (slice.isPast(first)) return nullptr;
  if (slice.matches(first) || stepForward(records_, it, slice)) return sliceHandleOn(it, slice);
  return nullptr;
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::findSliceBackwards(const int* keys) {
  const Slice slice(keys, dim);
  It it = slice.prefix() == 0 ? end_ : records_.lower_bound(slice.highest().data());
  // The bound itself can belong to the slice only if a label number is the largest integer.
  if (it != end_ && slice.matches((*it).first)) return sliceHandleOn(it, slice);
  return stepBackward(records_, it, slice) ? sliceHandleOn(it, slice) : nullptr;
}

template <class Map, class It>
It ZDBSymbol<Map, It>::place(const int* keys, const double* values, bool overwrite) {
  // A scalar container overwrites on every insertion.
  if (dim == 0 && !overwrite && !empty()) return records_.begin();
  It hint = end_;
  return overwrite ? records_.insert_or_assign(hint, keys, values)
                   : records_.emplace_hint(keys, values, hint);
}

template <class Map, class It>
double* ZDBSymbol<Map, It>::storeRow(const int* keys, const double* values, bool overwrite) {
  return (*place(keys, values, overwrite)).second;
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::addRecordRaw(const int* keys, const double* values,
                                                            bool overwrite) {
  return handleOn(place(keys, values, overwrite));
}

template <class Map, class It>
const double* ZDBSymbol<Map, It>::defaultRow(const double* variableDefaults,
                                             const double* equationDefaults) const {
  static constexpr double zeros[kMaxValues] = {};
  if (type == TypeVariable) return variableDefaults;
  return type == TypeEquation ? equationDefaults : zeros;
}

template <class Map, class It>
std::pair<bool, double*> ZDBSymbol<Map, It>::mergeRecord(int* keys, const double* variableDefaults,
                                                         const double* equationDefaults,
                                                         AbstractZDBSymbolIterator** out) {
  const It it = place(keys, defaultRow(variableDefaults, equationDefaults), false);
  if (out != nullptr) *out = handleOn(it);
  return {true, (*it).second};
}

template <class Map, class It>
AbstractZDBSymbolIterator* ZDBSymbol<Map, It>::addRecord(int* keys, const double* variableDefaults,
                                                         const double* equationDefaults) {
  const auto before = records_.size();
  const It it = place(keys, defaultRow(variableDefaults, equationDefaults), false);
  return records_.size() == before ? nullptr : handleOn(it);
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
  records_.erase(static_cast<It&>(handle->getIterator()));
  // A scalar's position is an address that tells nothing of whether the record is there.
  if (dim == 0) ++generation;
}

template <class Map, class It>
void ZDBSymbol<Map, It>::assignRecords(AbstractZDBSymbol* other) {
  clear();
  records_.reserve(other->size());
  other->forEachRecord(
      [this](const int* keys, const double* values) { records_.emplace_end(keys, values); });
}

template class ZDBSymbol<dmap::DMap, dmap::DMapIterator>;

}  // namespace zdb
