// The record container over the label tree.
//
// It is for keys that share their first labels: these are stored once, which pays for symbols with
// many records under few leading labels and many positions. For three labels and a double it takes
// about 32 bytes if six records share their first two labels, and 33 if nothing is shared, as much
// as a `DMap`; finding takes 340 to 420 ns, walking 1.7 to 2.8. A position that is not shared costs
// 20 bytes, in the other containers 4. What is erased is not freed before the container is, so a
// `DMap` is better where records come and go. idmap.h compares the containers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "dmap/idmap.h"
#include "dmap/recordrun.h"
#include "dmap/scalarrecord.h"
#include "utree/utree.h"

namespace zdb::dmap {

class DMap;
class DMapVector;

/// The key of the record that was last read through a tree iterator: by contract one buffer for all
/// trees that one thread uses. The model saves a call for its address in a shared library.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local int sharedTreeKey[kMaxDim] = {};

/// The record at a tree position. Its key is copied to `sharedTreeKey`, by contract, and so is
/// valid only until the next tree iterator is dereferenced. Throws std::bad_variant_access if the
/// last node has no values.
/// REQUIRES `position` is not the end.
inline VirtualPair pairForRecord(const utree::UELNodeIt& position) {
  position.copyLabels(sharedTreeKey);
  return {sharedTreeKey, position.leaf()->down.values(), ElemOwnership::None};
}

/// The same for any position, with null pointers at the end and where there are fewer than
/// `dim` levels.
inline VirtualPair constructPairForIterator(int dim, const utree::UELNodeIt& position) {
  if (position.isEnd() || dim > position.dim()) return {nullptr, nullptr, ElemOwnership::None};
  return pairForRecord(position);
}

/// A position in a `DMapUTree`: in its tree or, for dimension 0, the address of a double.
///
/// Adding and erasing other records does not invalidate it. Moving past the end or before the first
/// record has no effect, except for dimension 0, where moving adds or subtracts one double without
/// any check. Reading one kind of position as the other throws std::bad_variant_access.
class TreeIterator final : public BaseDMapIterator, public IDMapIterator {
 public:
  /// Singular: dimension 0, no tree, no nodes.
  TreeIterator() = default;
  TreeIterator(const utree::UELNodeIt& at, int valueWidth, const utree::UTree* tree)
      : dim_(static_cast<std::uint8_t>(at.dim())),
        valueWidth_(static_cast<std::uint8_t>(std::clamp(valueWidth, 0, UINT8_MAX))),
        tree_(tree),
        node_(at) {}
  TreeIterator(double* scalar, int valueWidth)
      : valueWidth_(static_cast<std::uint8_t>(std::clamp(valueWidth, 0, UINT8_MAX))),
        isScalar_(true),
        scalar_(scalar) {}

  TreeIterator& operator++() override {
    if (!utree::UTree::stepRight(node_)) leaveList();
    return *this;
  }
  /// From the end, to the last record. Looks the record up among its siblings.
  TreeIterator& operator--() override;
  /// For dimension 0, key and values are both the scalar's first double. `pairForRecord` says how
  /// long the key is valid.
  VirtualPair operator*() const override {
    if (node_.isEnd()) return {scalarKey(), scalar_, ElemOwnership::None};
    return pairForRecord(node_);
  }
  /// The values alone, without a copy of the key; null at the end.
  double* values() const { return node_.isEnd() ? scalar_ : node_.leaf()->down.values(); }
  bool operator==(const IDMapIterator& other) const override;
  bool operator!=(const IDMapIterator& other) const override { return !(*this == other); }
  /// The same without a run-time check of the other iterator's type.
  bool operator==(const TreeIterator& other) const {
    return node_ == other.node_ && dim_ == other.dim_ && valueWidth_ == other.valueWidth_ &&
           isScalar_ == other.isScalar_ && scalar_ == other.scalar_;
  }
  bool operator!=(const TreeIterator& other) const { return !(*this == other); }
  bool isNullPtr() const override { return dim_ == 0 && scalar_ == nullptr; }

  const utree::UTree* tree() const { return tree_; }
  const utree::UELNodeIt& position() const {
    if (isScalar_) throw std::bad_variant_access();
    return node_;
  }
  double* scalar() const {
    if (!isScalar_) throw std::bad_variant_access();
    return scalar_;
  }

 private:
  const int* scalarKey() const { return reinterpret_cast<const int*>(scalar_); }
  void leaveList();
  void moveScalar(int doubles);

  std::uint8_t dim_ = 0;
  std::uint8_t valueWidth_ = 0;  ///< as the container's, at most 255
  const utree::UTree* tree_ = nullptr;
  // Not a variant, although the position is one of two: which one is tested at every step, and a
  // variant would copy the whole path and compare through a table of functions.
  bool isScalar_ = false;
  double* scalar_ = nullptr;
  utree::UELNodeIt node_;
};

/// The label tree storage: records whose keys share a prefix share its nodes.
///
/// It owns nodes and values; what is erased or cleared is freed with the container only. Inserting
/// invalidates nothing; iterators and the addresses of values are valid as long as their record, as
/// in `DMap`. It departs from the `IDMap` contract in these points, by design:
///
/// - Inserting the largest key again gives it the new values.
/// - `insert_or_assign` does not look at the key of the record at the lower bound: an absent key
///   overwrites the values of the record after its place. If there is none, it is added.
/// - `lower_bound` of a key above all others is a singular iterator, not `end()`.
/// - `index(end())` is `size()`.
///
/// So a caller that does not know whether a key exists calls `exactLowerBound`. Dimension 0 has no
/// tree and is a scalar as in `DMap`, except for `index` and `withIndex`, which count doubles.
class DMapUTree final : public IDMap<TreeIterator> {
 public:
  /// An empty container. Throws std::invalid_argument unless 0 <= dim <= 20.
  DMapUTree(int dim, int valueWidth);
  /// Copies the records of another container. Linear.
  explicit DMapUTree(DMap& source);
  explicit DMapUTree(DMapVector& source);
  DMapUTree(const DMapUTree& other);
  /// Replaces the records by those of `other`. Throws std::invalid_argument if dimension or value
  /// width differ, and std::bad_alloc; either leaves the records as they were.
  DMapUTree& operator=(const DMapUTree& other);
  void assign(const DMapUTree& other) { *this = other; }
  ~DMapUTree() override = default;

  TreeIterator emplace_end(const int* key, const double* values) override {
    return tree_ ? iterator(tree_->emplace_end(key, values)) : assignScalar(values);
  }
  TreeIterator emplace(const int* key, const double* values) override {
    return tree_ ? iterator(tree_->emplace(key, values)) : assignScalar(values);
  }
  /// Ignores the hint.
  TreeIterator emplace_hint(const int* key, const double* values, TreeIterator& hint) override;
  TreeIterator insert_or_assign(TreeIterator& hint, const int* key, const double* values) override;
  void erase(const TreeIterator& it) override;
  std::uint64_t size() const override {
    return tree_ ? tree_->size() : std::uint64_t{scalar_.isPresent};
  }
  bool empty() const override { return size() == 0; }
  TreeIterator lower_bound(const int* key) override;
  TreeIterator find(const int* key) override;
  TreeIterator begin() override;
  TreeIterator end() override { return end_; }
  /// Removes all records; their memory is kept until the container goes.
  void clear() override;
  /// Exchanges the records with those of a container of the same dimension and value width.
  void swap(DMapUTree& other) noexcept;
  int index(const TreeIterator& it) override;
  TreeIterator withIndex(int rank) override;
  /// Makes later blocks large enough for this many nodes and records.
  void reserve(int records) override;

  /// The first record whose key is not less than `key`, or `end()`; for dimension 0 `find`.
  TreeIterator exactLowerBound(const int* key);
  /// Adds a record before `at`.
  /// REQUIRES the key is absent and `at` is what `exactLowerBound` returned for it.
  TreeIterator insertAt(const TreeIterator& at, const int* key, const double* values);

  /// The records from `at` on, in `buffer`, as many as fit; moves `at` past them.
  RecordRun nextRun(TreeIterator& at, RunBuffer& buffer);
  /// Adds records with adjacent keys and rows, counting each in `done`. In constant time each if
  /// they are in order and after all others. An existing key keeps its values, except the largest.
  /// Throws std::bad_alloc, after which the first `done` are there.
  /// REQUIRES dimension > 0.
  void appendMany(const int* keys, const double* values, int count, int& done) {
    insertMany(keys, values, count, done);
  }
  void insertMany(const int* keys, const double* values, int count, int& done);
  /// Finds the values of records with adjacent keys, null where there is none.
  /// REQUIRES dimension > 0.
  void findMany(const int* keys, int count, double** rows) { tree_->findMany(keys, count, rows); }
  /// Exchanges the records with those of another tree. Iterators go with the records.
  /// REQUIRES both have the same dimension and value width.
  void swapRecords(DMapUTree& other) noexcept;

  /// The tree, or null for dimension 0.
  utree::UTree* getTree() { return tree_.get(); }
  /// Draws the tree to the file `name` + "_dmap.pdf"; see `UTree::toPDF`.
  void toPDF(const std::string& name) const;

 private:
  TreeIterator iterator(const utree::UELNodeIt& at) const {
    return {at, getValueWidth(), tree_.get()};
  }
  TreeIterator scalarIterator(std::ptrdiff_t offset);
  TreeIterator assignScalar(const double* values);
  TreeIterator endPosition();

  std::unique_ptr<utree::UTree> tree_;
  ScalarRecord scalar_;  ///< the record of dimension 0
  TreeIterator end_;
};

}  // namespace zdb::dmap
