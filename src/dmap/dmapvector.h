// The compact record container: two sorted arrays.
//
// It is for records that come in key order and are then mostly read: about 21 bytes for three
// labels and a double, 300 ns to find one among a million and 0.5 to walk on to the next, where a
// `DMap` takes 32 bytes, 380 and 1.3 ns. Adding or erasing a record in the middle moves all records
// after it, so for that a `DMap` is the better choice. idmap.h compares the containers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <optional>

#include "dmap/idmap.h"
#include "dmap/keysearch.h"
#include "dmap/recordrun.h"
#include "dmap/rowarray.h"

namespace zdb::test {
struct Structure;
}

namespace zdb::dmap {

class DMap;
class DMapUTree;

/// A position in a `DMapVector`: a record's number, and the two arrays.
///
/// Refers to whichever record has that number, so adding or erasing a record before it changes what
/// it refers to. Moving is not checked. Valid until the container is destroyed.
class VectorIterator final : public BaseDMapIterator, public IDMapIterator {
 public:
  /// Singular.
  VectorIterator() = default;
  VectorIterator(int dim, int valueWidth, int position, RowArray<int>& keys,
                 RowArray<double>& values)
      : dim_(dim), valueWidth_(valueWidth), position_(position), keys_(&keys), values_(&values) {}

  VectorIterator& operator++() override {
    position_ = static_cast<int>(static_cast<unsigned>(position_) + 1U);
    return *this;
  }
  VectorIterator& operator--() override {
    position_ = static_cast<int>(static_cast<unsigned>(position_) - 1U);
    return *this;
  }
  /// Key and values in place, owning nothing; both null outside the arrays, which extend as far as
  /// memory was reserved. For dimension 0 the key is null and the values are those of the record,
  /// whatever the position.
  VirtualPair operator*() const override {
    const auto at = static_cast<unsigned>(position_);  // a negative number becomes too large
    if (keys_ != nullptr && at < keys_->written()) [[likely]] {
      return {keys_->row(at), values_->row(at), ElemOwnership::None};
    }
    const Place place = placeOutside(position_, keys_, values_);
    return {place.key, place.values, ElemOwnership::None};
  }
  bool operator==(const IDMapIterator& other) const override;
  bool operator!=(const IDMapIterator& other) const override { return !(*this == other); }
  /// The same without a run-time check of the other iterator's type. The containers that they
  /// belong to are not compared.
  bool operator==(const VectorIterator& other) const {
    return position_ == other.position_ && dim_ == other.dim_ && valueWidth_ == other.valueWidth_;
  }
  bool operator!=(const VectorIterator& other) const { return !(*this == other); }
  bool isNullPtr() const override { return keys_ == nullptr || values_ == nullptr; }

  int position() const { return position_; }

 private:
  struct Place {
    const int* key;
    double* values;
  };
  static Place placeOutside(int position, RowArray<int>* keys, RowArray<double>* values);

  int dim_ = 0;
  int valueWidth_ = 0;
  int position_ = -1;
  RowArray<int>* keys_ = nullptr;
  RowArray<double>* values_ = nullptr;
};

/// The sorted vector storage: all keys in one array and all values in another.
///
/// It owns the arrays. Any change invalidates the addresses of values; iterators stay valid, but
/// refer to records by number, so they may then refer to other records.
///
/// A 0 on either side of a comparison matches any label. In that and the following points the
/// container departs from the `IDMap` contract by design:
///
/// - `emplace_end` appends without looking at the key, which must come last.
/// - `emplace_hint` appends if the hint is the end, and inserts a second record before the hint if
///   that already has the key.
/// - `emplace` prints a warning if the key exists.
/// - `lower_bound` of a key between two records is the one before it, of a key below all the first,
///   and of a key above all `end()`; but if there is only one record, it is the bound of every key.
/// - `insert_or_assign` overwrites the values of that bound, whatever its key, or appends.
/// - `reserve` empties the arrays, though not the count.
///
/// So a caller that does not know whether a key exists calls `exactLowerBound`. For dimension 0
/// there is one record or none, of values alone, which `find` and `lower_bound` give for any key;
/// `index` is then always -1.
class DMapVector final : public IDMap<VectorIterator> {
 public:
  /// An empty container. Throws std::invalid_argument unless 0 <= dim <= 20.
  DMapVector(int dim, int valueWidth);
  /// Copies the records of another container. Linear.
  explicit DMapVector(DMap& source);
  explicit DMapVector(DMapUTree& source);

  VectorIterator emplace_end(const int* key, const double* values) override {
    // The usual case makes no calls: records are appended by the million.
    if (count_ >= room_) [[unlikely]]
      return appendUnusual(key, values);
    keys_.appendNarrow(static_cast<std::size_t>(count_), key);
    values_.appendOne(static_cast<std::size_t>(count_), *values);
    return iterator(count_++);
  }
  VectorIterator emplace(const int* key, const double* values) override;
  VectorIterator emplace_hint(const int* key, const double* values, VectorIterator& hint) override;
  /// Ignores the hint.
  VectorIterator insert_or_assign(VectorIterator& hint, const int* key,
                                  const double* values) override;
  /// Also drops what was reserved beyond the records. Linear. Does nothing if there is no record
  /// at `it`.
  void erase(const VectorIterator& it) override;
  std::uint64_t size() const override {
    return getDim() > 0 ? static_cast<std::uint64_t>(count_) : std::uint64_t{!values_.empty()};
  }
  bool empty() const override { return size() == 0; }
  VectorIterator lower_bound(const int* key) override { return binarySearchInVec(key); }
  VectorIterator find(const int* key) override;
  VectorIterator begin() override { return iterator(0); }
  VectorIterator end() override { return iterator(static_cast<int>(size())); }
  void clear() override;
  /// Exchanges the records with those of a container of the same dimension and value width.
  void swap(DMapVector& other) noexcept { swapRecords(other); }
  /// Constant time.
  int index(const VectorIterator& it) override;
  /// Constant time, without a check.
  VectorIterator withIndex(int rank) override { return iterator(rank); }
  /// Makes room for this many records, all zero.
  /// REQUIRES the container is empty: otherwise the records are lost, but still counted.
  void reserve(int records) override;

  /// The first record whose key, compared exactly, is not less than `key`, or `end()`; for
  /// dimension 0 the record. Constant time for a key above all.
  VectorIterator exactLowerBound(const int* key);
  /// Adds a record before `at`. Linear in the number of records after it.
  /// REQUIRES the key is absent and `at` is what `exactLowerBound` returned for it.
  VectorIterator insertAt(const VectorIterator& at, const int* key, const double* values);
  /// The records from `at` on, up to a fixed number; moves `at` past them.
  RecordRun nextRun(VectorIterator& at, RunBuffer& buffer);
  /// Makes room for so many more records. Throws std::bad_alloc.
  void makeRoomFor(std::size_t records);
  /// Appends records, without looking at the keys, which must come last and in order:
  /// `fill(keys, rows)` writes them to where they will be.
  /// REQUIRES dimension > 0, and there is room for them.
  template <class Fill>
  void appendMany(int count, Fill fill) {
    fill(nextKey(), nextRow());
    appendWritten(count);
  }
  /// Where keys and values of the next records will be.
  int* nextKey() { return keys_.row(static_cast<std::size_t>(count_)); }
  double* nextRow() { return values_.row(static_cast<std::size_t>(count_)); }
  /// Appends records that have been written there.
  /// REQUIRES as appendMany() does.
  void appendWritten(int count) {
    count_ += count;
    keys_.lengthen(static_cast<std::size_t>(count_));
    values_.lengthen(static_cast<std::size_t>(count_));
  }
  /// Records that can be appended before there must be more room.
  std::size_t room() const {
    return std::min(keys_.capacity(), values_.capacity()) - static_cast<std::size_t>(count_);
  }
  /// Finds the values of records with adjacent keys, null where there is none.
  /// REQUIRES dimension > 0.
  void findMany(const int* keys, int count, double** rows);
  /// For adjacent keys, the number of records that come before each; its complement if there is a
  /// record with this key.
  /// REQUIRES dimension > 0.
  void placeMany(const int* keys, int count, int* places);
  /// The values of a record.
  double* row(int record) { return valuesAt(record); }
  /// Opens gaps, each for one record, before the records with these numbers, which are ascending
  /// and may be equal. `fill(i, key, row)` is called for gap `i`, from the last to the first, with
  /// the places for its key and values. Moves each record at most once.
  /// REQUIRES dimension > 0, there is room, and the keys come where the gaps are.
  template <class Fill>
  void insertSorted(const int* before, int count, Fill fill) {
    const std::size_t width = keys_.width();
    const std::size_t doubles = values_.width();
    auto end = static_cast<std::size_t>(count_);
    keys_.lengthen(end + static_cast<std::size_t>(count));
    values_.lengthen(end + static_cast<std::size_t>(count));
    for (int i = count - 1; i >= 0; --i) {
      const auto from = static_cast<std::size_t>(before[i]);
      const auto to = from + static_cast<std::size_t>(i);
      std::memmove(keys_.row(to + 1), keys_.row(from), (end - from) * width * sizeof(int));
      std::memmove(values_.row(to + 1), values_.row(from), (end - from) * doubles * sizeof(double));
      fill(i, keys_.row(to), values_.row(to));
      end = from;
    }
    count_ += count;
    if (count > 0) keysChanged(before[0]);
  }
  /// Exchanges the records with those of another vector. Iterators stay with the container.
  /// REQUIRES both have the same dimension and value width.
  void swapRecords(DMapVector& other) noexcept;

  /// What `lower_bound` does. O(log n), and each record that was added since the last search is
  /// checked once.
  VectorIterator binarySearchInVec(const int* key) { return iterator(search(key)); }
  /// What `lower_bound` would find by a linear search: the first record that does not compare less,
  /// or a singular iterator.
  VectorIterator linearSearchInVec(const int* key);

 private:
  friend struct test::Structure;

  VectorIterator iterator(int position) {
    return {getDim(), getValueWidth(), position, keys_, values_};
  }
  const int* keyAt(int position) const { return keys_.row(static_cast<std::size_t>(position)); }
  double* valuesAt(int position) { return values_.row(static_cast<std::size_t>(position)); }
  int compare(const int* a, const int* b) const {
    return recordNumericKeysCompareWithWildcard(a, b, getDim());
  }

  int search(const int* key);
  int searchWithWildcards(const int* key) const;
  int countBelow(const int* key) {
    return search_->countBelow(keys_.row(0), count_, key, values_.row(0));
  }
  bool comparesExactly(const int* key);
  bool isPlain(int position) const {
    return search_->countPlain(keys_.row(0), position, position + 1) > position;
  }
  /// To be called when keys from this position on have come or gone, other than at the end.
  void keysChanged(int position) noexcept {
    search_->forgetFrom(position);
    plain_ = std::min(plain_, position);
  }
  VectorIterator skip(int position);
  VectorIterator appendUnusual(const int* key, const double* values);
  VectorIterator assignScalar(const double* values);
  VectorIterator insert(int position, const int* key, const double* values);
  int reserved() const { return static_cast<int>(keys_.size()); }
  void growByOne() {
    if (reserved() == std::numeric_limits<int>::max()) throw std::bad_alloc();
    keys_.makeRoom();
    values_.makeRoom();
    keys_.extend();
    values_.extend();
    updateRoom();
  }
  void updateRoom() {
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    const bool isNarrow = keys_.isNarrow() && values_.width() == 1;
    const std::size_t room = std::min({keys_.capacity(), values_.capacity(), kMost});
    room_ = isNarrow ? static_cast<int>(room) : 0;
  }
  void storeAt(int position, const int* key, const double* values) {
    keys_.set(static_cast<std::size_t>(position), key);
    values_.set(static_cast<std::size_t>(position), values);
  }

  RowArray<int> keys_;
  RowArray<double> values_;
  int count_ = 0;  ///< Records in use; always 0 for dimension 0, which has values only
  int room_ = 0;   ///< Records that both arrays have memory for; 0 unless rows are narrow
  int plain_ = 0;  ///< Records at the front known to be in order, unique and without a 0
  std::optional<KeySearch> search_;  ///< not for dimension 0
};

}  // namespace zdb::dmap
