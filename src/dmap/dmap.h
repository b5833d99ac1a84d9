/// The default record container: an ordered tree with stable records.
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
/// Stays valid when other records are added or erased. An iterator at the end stays the end
/// whatever happens; moved back it reaches the record that is the last one then. Moving past the
/// end or before the first record has no effect, and an iterator whose record was erased moves to
/// the end, except for dimension 0, where moving adds or subtracts one double without looking.
/// All operations are O(1), but a record whose neighbourhood was reorganised since is looked up
/// once, O(log n).
class DMapIterator final : public BaseDMapIterator, public IDMapIterator {
 public:
  /// Points nowhere: dimension 0, width 0.
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
  /// The common case of ++, which cannot come to the end: true if it was one, else nothing moved.
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
  /// The same without asking for the other iterator's type.
  bool operator==(const DMapIterator& other) const {
    return at_ == other.at_ && dim_ == other.dim_ && valueWidth_ == other.valueWidth_;
  }
  bool operator!=(const DMapIterator& other) const { return !(*this == other); }
  bool isNullPtr() const override { return at_.isNull(); }

  const AnySizeMapIterator& position() const { return at_; }

 private:
  std::uint8_t dim_ = 0;         ///< The kind of map: 0 for a scalar, else the key length.
  std::uint8_t valueWidth_ = 0;  ///< As the container's, at most 255.
  AnySizeMapIterator at_;
};

/// The ordered map storage.
///
/// Keeps the `IDMap` contract in its strict form: records may be added in any order, an insertion
/// never overwrites except `insert_or_assign` with an existing key, inserting invalidates nothing,
/// erasing only iterators at the erased record, and the values of a record keep their address for
/// the record's life. Keys are compared exactly; 0 is a label like any other.
///
/// Dimension 0 is a scalar without a map: one record kept in the container itself, which every
/// insertion overwrites. Its iterators are addresses that move by one double, so that a record of
/// five doubles is still one step from `begin()` to `end()`, and `lower_bound` gives a null
/// iterator when the record is there and `end()` when it is not.
class DMap final : public IDMap<DMapIterator> {
 public:
  /// An empty container. Throws std::invalid_argument unless 0 <= dim <= 20.
  DMap(int dim, int valueWidth);
  /// The records of another container, which is left as it is; of two with one key, the first.
  /// Linear if they are in order.
  explicit DMap(DMapVector& source);
  explicit DMap(DMapUTree& source);

  DMapIterator emplace_end(const int* key, const double* values) override {
    return emplace(key, values);  // which looks at the end first
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
  int index(const DMapIterator& it) override;
  DMapIterator withIndex(int rank) override;
  /// Has no effect here.
  void reserve(int records) override;

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

  AnySizeMap map_;       ///< Without a map for dimension 0.
  ScalarRecord scalar_;  ///< The record of dimension 0.
};

}  // namespace zdb::dmap
