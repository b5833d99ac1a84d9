// The default record container: an ordered map that never moves a record.
//
// It is for records that are added, deleted and found in any order: about 32 bytes for three labels
// and a double, 380 ns to find one among a million. A symbol that is filled in key order and then
// mostly read takes less memory in a `DMapVector`; keys that share long prefixes can take less in a
// `DMapUTree`. idmap.h compares the containers with each other and with their peers.
#pragma once

#include <algorithm>
#include <cstdint>

#include "dmap/anysizemap.h"
#include "dmap/idmap.h"
#include "dmap/scalarrecord.h"

namespace zdb::dmap {

class DMapUTree;
class DMapVector;

/// A position in a `DMap`.
///
/// Adding and erasing other records does not invalidate it. The end iterator stays the end whatever
/// happens; moved back, it reaches whichever record is the last one by then. Moving past the end or
/// before the first record has no effect, and an iterator whose record was erased moves to the end,
/// except for dimension 0, where moving adds or subtracts one double without any check. All
/// operations are O(1), except that a record whose leaf was split or rebalanced since is looked up
/// again once, O(log n).
class DMapIterator final : public BaseDMapIterator, public IDMapIterator {
 public:
  /// Singular: dimension 0, width 0.
  DMapIterator() = default;
  /// `at` is a position in a container of this dimension and value width.
  DMapIterator(int dim, int valueWidth, const AnySizeMapIterator& at)
      : dim_(static_cast<std::uint8_t>(dim)),
        valueWidth_(static_cast<std::uint8_t>(std::clamp(valueWidth, 0, UINT8_MAX))),
        at_(at) {}

  DMapIterator& operator++() override {
    at_.next();
    return *this;
  }
  /// The common case of ++, which cannot reach the end. Returns false, without moving, if this is
  /// not that case.
  bool stepInLeaf() { return at_.nextInLeaf(); }
  DMapIterator& operator--() override {
    at_.prev();
    return *this;
  }
  /// Key and values in place, owning nothing; both null at the end of a map. For dimension 0 both
  /// are the scalar's first double.
  VirtualPair operator*() const override {
    if (at_.isTreeEnd()) return {nullptr, nullptr, ElemOwnership::None};
    return {dim_, valueWidth_, at_.record()};
  }
  bool operator==(const IDMapIterator& other) const override;
  bool operator!=(const IDMapIterator& other) const override { return !(*this == other); }
  /// The same without a run-time check of the other iterator's type.
  bool operator==(const DMapIterator& other) const {
    return at_ == other.at_ && dim_ == other.dim_ && valueWidth_ == other.valueWidth_;
  }
  bool operator!=(const DMapIterator& other) const { return !(*this == other); }
  bool isNullPtr() const override { return at_.isNull(); }

  const AnySizeMapIterator& position() const { return at_; }

 private:
  std::uint8_t dim_ = 0;         ///< the kind of map: 0 for a scalar, else the key length
  std::uint8_t valueWidth_ = 0;  ///< as the container's, at most 255
  AnySizeMapIterator at_;
};

/// The ordered map storage. It owns its records, which lie in a B+ tree, and copies keys
/// and values.
///
/// Keeps the `IDMap` contract in its strict form: records may be added in any order, and an
/// insertion never overwrites except `insert_or_assign` with an existing key. Inserting invalidates
/// nothing, erasing only iterators at the erased record, and the values of a record keep their
/// address as long as it exists. Keys are compared exactly; 0 is a label like any other.
///
/// Dimension 0 is a scalar without a map: one record kept in the container itself, which every
/// insertion overwrites. Its iterators are addresses that move by one double, so that a record of
/// five doubles is still one step from `begin()` to `end()`, and `lower_bound` gives a null
/// iterator when the record is there and `end()` when it is not.
class DMap final : public IDMap<DMapIterator> {
 public:
  /// An empty container. Throws std::invalid_argument unless 0 <= dim <= 20.
  DMap(int dim, int valueWidth);
  /// Copies the records of another container; of two with the same key, the first. Linear if they
  /// are in order.
  explicit DMap(DMapVector& source);
  explicit DMap(DMapUTree& source);

  DMapIterator emplace_end(const int* key, const double* values) override {
    return emplace(key, values);  // which tries the end first
  }
  DMapIterator emplace(const int* key, const double* values) override {
    return map_.hasMap() ? iterator(map_.tree().insert(key, values).at) : assignScalar(values);
  }
  DMapIterator emplace_hint(const int* key, const double* values, DMapIterator& hint) override;
  DMapIterator insert_or_assign(DMapIterator& hint, const int* key, const double* values) override;
  void erase(const DMapIterator& it) override;
  std::uint64_t size() const override {
    return map_.hasMap() ? map_.tree().size() : std::uint64_t{scalar_.isPresent};
  }
  bool empty() const override { return size() == 0; }
  DMapIterator lower_bound(const int* key) override {
    if (map_.hasMap()) return iterator(map_.tree().lowerBound(key));
    return scalar_.isPresent ? DMapIterator() : end();
  }
  DMapIterator find(const int* key) override {
    return map_.hasMap() ? iterator(map_.tree().find(key)) : begin();
  }
  DMapIterator begin() override {
    return map_.hasMap() ? iterator(map_.tree().first())
                         : scalarIterator(scalar_.isPresent ? 0 : 1);
  }
  DMapIterator end() override {
    return map_.hasMap() ? iterator(map_.tree().end()) : scalarIterator(1);
  }
  void clear() override;
  /// Exchanges the records with those of a container of the same dimension and value width.
  void swap(DMap& other) noexcept {
    std::swap(map_, other.map_);
    std::swap(scalar_, other.scalar_);
  }
  int index(const DMapIterator& it) override;
  DMapIterator withIndex(int rank) override;
  /// Has no effect here.
  void reserve(int records) override;

  /// The records from `at` on that lie at equal distances, in place or in `buffer`; moves `at`
  /// past them.
  RecordRun nextRun(DMapIterator& at, RunBuffer& buffer);
  /// Adds records with adjacent keys and rows, counting each in `done`; appendMany those that are
  /// in order and come after all others. An existing key keeps its values. Throws std::bad_alloc,
  /// after which the first `done` are there.
  /// REQUIRES dimension > 0.
  void appendMany(const int* keys, const double* values, int count, int& done) {
    map_.tree().appendMany(keys, values, count, done);
  }
  void insertMany(const int* keys, const double* values, int count, int& done) {
    map_.tree().insertMany(keys, values, count, done);
  }
  /// Finds the values of records with adjacent keys, null where there is none.
  /// REQUIRES dimension > 0.
  void findMany(const int* keys, int count, double** rows) {
    map_.tree().findMany(keys, count, rows);
  }
  /// Exchanges the records with those of another map. Iterators go with the container.
  /// REQUIRES both have the same dimension and value width.
  void swapRecords(DMap& other) noexcept;

 private:
  DMapIterator iterator(const RecordPosition& at) const {
    return {getDim(), getValueWidth(), AnySizeMapIterator(&map_.tree(), at)};
  }
  DMapIterator scalarIterator(int offset) {
    return {0, getValueWidth(), AnySizeMapIterator(scalar_.values + offset)};
  }
  DMapIterator assignScalar(const double* values);
  RecordTreeBase::Inserted insertNear(const DMapIterator& hint, const int* key,
                                      const double* values);

  AnySizeMap map_;       ///< without a map for dimension 0
  ScalarRecord scalar_;  ///< the record of dimension 0
};

}  // namespace zdb::dmap
