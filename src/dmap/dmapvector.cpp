#include "dmap/dmapvector.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>

namespace zdb::dmap {

bool VectorIterator::operator==(const IDMapIterator& other) const {
  const auto* same = dynamic_cast<const VectorIterator*>(&other);
  return same != nullptr && *this == *same;
}

/// For a position without a record: zeros as far as memory was reserved, and null beyond. For
/// dimension 0, the record, whatever the position.
VectorIterator::Place VectorIterator::placeOutside(int position, RowArray<int>* keys,
                                                   RowArray<double>* values) {
  if (keys == nullptr) return {nullptr, nullptr};
  if (keys->width() == 0) return {nullptr, values->row(0)};
  const auto at = static_cast<unsigned>(position);
  if (at >= keys->size()) return {nullptr, nullptr};
  keys->zeroUpTo(keys->size());
  values->zeroUpTo(values->size());
  return {keys->row(at), values->row(at)};
}

DMapVector::DMapVector(int dim, int valueWidth)
    : IDMap(StorageTypes::Vector, dim, valueWidth),
      keys_(static_cast<std::size_t>(std::clamp(dim, 0, kMaxDim))),
      values_(static_cast<std::size_t>(doublesPerRecord(valueWidth))) {
  if (dim < 0 || dim > kMaxDim) {
    throw std::invalid_argument("A record has 0 to 20 labels, not " + std::to_string(dim));
  }
  if (dim > 0) search_.emplace(dim, doublesPerRecord(valueWidth));
}

// Searching.

/// The binary search that all look-ups of the interface share. For an absent key it returns the
/// record before its place; if there is only one record, that record for any key; and the end for a
/// key above all.
int DMapVector::search(const int* key) {
  if (count_ == 0) return 0;  // the end or, for dimension 0, the record if there is one
  if (!comparesExactly(key)) return searchWithWildcards(key);
  const int below = countBelow(key);
  if (below < count_ && std::equal(key, key + getDim(), keyAt(below))) return below;
  if (count_ == 1) return 0;
  return below == count_ ? count_ : std::max(below - 1, 0);
}

/// Keys with a 0 have no order, so the result depends on the steps, which are part of the contract.
int DMapVector::searchWithWildcards(const int* key) const {
  int low = 0;
  int high = count_;
  int middle = count_ / 2;
  while (high - low > 1) {
    const int order = compare(keyAt(middle), key);
    if (order == 0) return middle;
    (order < 0 ? low : high) = middle;
    middle = low + (high - low) / 2;
  }
  return count_ > 1 && high == count_ ? count_ : middle;
}

/// Whether wildcards cannot matter: all labels of the key and the records are positive, and the
/// records are in order.
bool DMapVector::comparesExactly(const int* key) {
  plain_ = search_->countPlain(keys_.row(0), plain_, count_);
  return plain_ == count_ && std::all_of(key, key + getDim(), [](int label) { return label > 0; });
}

VectorIterator DMapVector::find(const int* key) {
  if (getDim() == 0) return begin();  // which is the end if there is no record
  const int position = search(key);
  return iterator(position < count_ && compare(keyAt(position), key) == 0 ? position : count_);
}

VectorIterator DMapVector::exactLowerBound(const int* key) {
  if (getDim() == 0) return begin();
  const bool isAboveAll = count_ > 0 && search_->isLess(keyAt(count_ - 1), key);
  return iterator(isAboveAll ? count_ : countBelow(key));
}

VectorIterator DMapVector::linearSearchInVec(const int* key) {
  for (int i = 0; i < count_; ++i) {
    if (compare(keyAt(i), key) >= 0) return iterator(i);
  }
  return {};
}

int DMapVector::index(const VectorIterator& it) {
  // By contract, the record of a scalar has no index: a scalar has no count. Positions before the
  // first record, which nobody checks when they are made, are given back as they are.
  return getDim() > 0 && it.position() < count_ ? it.position() : -1;
}

// Adding.

VectorIterator DMapVector::appendUnusual(const int* key, const double* values) {
  if (getDim() == 0) return assignScalar(values);
  if (count_ == reserved()) growByOne();
  storeAt(count_, key, values);
  return iterator(count_++);
}

VectorIterator DMapVector::emplace(const int* key, const double* values) {
  if (count_ == 0) return emplace_end(key, values);
  const int order = compare(key, keyAt(count_ - 1));
  if (order == 0) return skip(count_ - 1);
  if (order > 0) return emplace_end(key, values);
  const int position = search(key);
  if (position < count_ && compare(keyAt(position), key) == 0) return skip(position);
  return insert(countBelow(key), key, values);
}

VectorIterator DMapVector::emplace_hint(const int* key, const double* values,
                                        VectorIterator& hint) {
  const int position = index(hint);
  if (position < 0) return emplace_end(key, values);
  if (compare(key, keyAt(position)) >= 1) return emplace(key, values);
  if (position >= 1 && compare(key, keyAt(position - 1)) < 0) return emplace(key, values);
  // A key equal to the hint's gets a second record before it: a caller that hints guarantees that
  // the key is new.
  return insert(position, key, values);
}

VectorIterator DMapVector::insert_or_assign(VectorIterator& /*hint*/, const int* key,
                                            const double* values) {
  if (getDim() == 0) return emplace(key, values);
  const int position = search(key);
  if (position == count_) return emplace_end(key, values);
  // The record at the bound gets the values, whatever its key, by contract.
  values_.set(static_cast<std::size_t>(position), values);
  return iterator(position);
}

VectorIterator DMapVector::insertAt(const VectorIterator& at, const int* key,
                                    const double* values) {
  const int position = index(at);
  return position < 0 ? emplace_end(key, values) : insert(position, key, values);
}

VectorIterator DMapVector::skip(int position) {
  std::puts("Warning: Keys already in record map. Skipping.");
  return iterator(position);
}

VectorIterator DMapVector::assignScalar(const double* values) {
  if (values_.empty()) values_.assignZeros(1);
  values_.set(0, values);
  return iterator(0);
}

VectorIterator DMapVector::insert(int position, const int* key, const double* values) {
  if (count_ == reserved()) growByOne();
  const auto at = static_cast<std::size_t>(position);
  const auto end = static_cast<std::size_t>(count_);
  keys_.makeGap(at, end);
  values_.makeGap(at, end);
  storeAt(position, key, values);
  ++count_;
  search_->forgetFrom(position);
  if (position < plain_) {
    plain_ = isPlain(position) && isPlain(position + 1) ? plain_ + 1 : position;
  }
  return iterator(position);
}

// Many records at once.

RecordRun DMapVector::nextRun(VectorIterator& at, RunBuffer& /*buffer*/) {
  constexpr int kAtOnce = 4096;
  RecordRun run;
  const int position = at.position();
  run.count = std::clamp(static_cast<int>(size()) - position, 0, kAtOnce);
  if (run.count > 0) {
    run.keys = keyAt(position);
    run.keyStep = getDim();
    run.values = valuesAt(getDim() > 0 ? position : 0);
    run.valueStep = static_cast<std::ptrdiff_t>(values_.width());
  }
  at = iterator(position + run.count);
  return run;
}

void DMapVector::makeRoomFor(std::size_t records) {
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<int>::max());
  if (records > kMost - static_cast<std::size_t>(count_)) throw std::bad_alloc();
  keys_.truncate(static_cast<std::size_t>(count_));
  values_.truncate(static_cast<std::size_t>(count_));
  keys_.makeRoomFor(records);
  values_.makeRoomFor(records);
  updateRoom();
}

void DMapVector::placeMany(const int* keys, int count, int* places) {
  const int dim = getDim();
  for (int done = 0; done < count; done += KeySearch::kGroup) {
    const int group = std::min(KeySearch::kGroup, count - done);
    search_->countBelowMany(keys_.row(0), count_, keys, group, places + done);
    for (int i = done; i < done + group; ++i, keys += dim) {
      const bool isFound = places[i] < count_ && std::equal(keys, keys + dim, keyAt(places[i]));
      if (!isFound) continue;
      memory::prefetch(valuesAt(places[i]));
      places[i] = ~places[i];
    }
  }
}

void DMapVector::findMany(const int* keys, int count, double** rows) {
  constexpr int kGroup = 256;
  int places[kGroup];
  for (int done = 0; done < count; done += kGroup) {
    const int group = std::min(kGroup, count - done);
    placeMany(keys + std::ptrdiff_t{done} * getDim(), group, places);
    for (int i = 0; i < group; ++i) rows[done + i] = places[i] < 0 ? valuesAt(~places[i]) : nullptr;
  }
}

void DMapVector::swapRecords(DMapVector& other) noexcept {
  std::swap(keys_, other.keys_);
  std::swap(values_, other.values_);
  std::swap(count_, other.count_);
  std::swap(room_, other.room_);
  std::swap(plain_, other.plain_);
  std::swap(search_, other.search_);
}

// Removing and reserving.

void DMapVector::erase(const VectorIterator& it) {
  if (getDim() == 0) return values_.clear();
  const int position = index(it);
  if (position < 0) return;
  const auto at = static_cast<std::size_t>(position);
  const auto end = static_cast<std::size_t>(count_);
  keys_.erase(at, end);
  values_.erase(at, end);
  --count_;
  if (position < plain_) --plain_;
  search_->forgetFrom(position);
}

void DMapVector::clear() {
  keys_.clear();
  values_.clear();
  count_ = plain_ = room_ = 0;
  if (search_) search_->clear();
}

void DMapVector::reserve(int records) {
  if (getDim() == 0) return;
  // Never below the count, which stays: every position below it must have a record.
  records = std::max(records, count_);
  RowArray<int> keys(keys_.width());
  keys.assignZeros(static_cast<std::size_t>(records));
  values_.assignZeros(static_cast<std::size_t>(records));
  keys_ = std::move(keys);
  keys_.zeroUpTo(static_cast<std::size_t>(count_));
  values_.zeroUpTo(static_cast<std::size_t>(count_));
  plain_ = 0;
  search_->clear();
  updateRoom();
}

}  // namespace zdb::dmap
