/// The record container over the label tree.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "dmap/idmap.h"
#include "dmap/scalarrecord.h"
#include "utree/utree.h"

namespace zdb::dmap {

class DMap;
class DMapVector;

/// The key of the record that a tree iterator showed last: by contract one buffer for all trees, of
/// those that one thread uses. The model spares a call for its address in a shared library.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local int sharedTreeKey[kMaxDim] = {};

/// The record at a tree position, not the end. Its key is copied to `sharedTreeKey`, on purpose,
/// and so is only good until any tree iterator is dereferenced. Throws std::bad_variant_access if
/// the last node has no values.
inline VirtualPair pairForRecord(const utree::UELNodeIt& position) {
  position.copyLabels(sharedTreeKey);
  return {sharedTreeKey, position.leaf()->down.values(), ElemOwnership::None};
}

/// The same for any position, with null pointers at the end and where there are fewer than `dim`
/// levels.
inline VirtualPair constructPairForIterator(int dim, const utree::UELNodeIt& position) {
  if (position.isEnd() || dim > position.dim()) return {nullptr, nullptr, ElemOwnership::None};
  return pairForRecord(position);
}

/// A position in a `DMapUTree`: in its tree or, for dimension 0, the address of a double.
///
/// Stays valid when other records are added or erased. Moving past the end or before the first
/// record has no effect, except for dimension 0, where moving adds or subtracts one double without
/// looking. Asking one kind of position for the other throws std::bad_variant_access.
class TreeIterator final : public BaseDMapIterator, public IDMapIterator {
 public:
  /// Points nowhere: dimension 0, no tree, no nodes.
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
  /// From the end to the last record. Looks the record up among its siblings.
  TreeIterator& operator--() override;
  /// For dimension 0 key and values are both the scalar's first double. See
  /// `constructPairForIterator` for how long the key is good.
  VirtualPair operator*() const override {
    if (node_.isEnd()) return {scalarKey(), scalar_, ElemOwnership::None};
    return pairForRecord(node_);
  }
  /// The values alone, without a copy of the key; null at the end.
  double* values() const { return node_.isEnd() ? scalar_ : node_.leaf()->down.values(); }
  bool operator==(const IDMapIterator& other) const override;
  bool operator!=(const IDMapIterator& other) const override { return !(*this == other); }
  /// The same without asking for the other iterator's type.
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
  std::uint8_t valueWidth_ = 0;  ///< As the container's, at most 255.
  const utree::UTree* tree_ = nullptr;
  // The position is one of two, and which is asked at every step: a variant would copy the whole
  // path and compare by a table of functions.
  bool isScalar_ = false;
  double* scalar_ = nullptr;
  utree::UELNodeIt node_;
};

/// The label tree storage: records with a common beginning of their keys share its memory.
///
/// Iterators and the addresses of values stay as long as their record, as in `DMap`, but what is
/// erased or cleared is freed with the container only. It keeps the `IDMap` contract except in
/// these points, which are as they are on purpose:
///
/// - An insertion of the largest key there is gives it the new values.
/// - `insert_or_assign` does not look at the key of the record at the lower bound: an absent key
///   overwrites the values of the record behind its place. With no record behind it, it is added.
/// - `lower_bound` of a key above all others is an iterator that points nowhere, not `end()`.
/// - `index(end())` is `size()`.
///
/// So whoever does not know whether a key is present asks `exactLowerBound`. Dimension 0 has no
/// tree and is a scalar as in `DMap`, except for `index` and `withIndex`, which count doubles.
class DMapUTree final : public IDMap<TreeIterator> {
 public:
  /// An empty container. Throws std::invalid_argument unless 0 <= dim <= 20.
  DMapUTree(int dim, int valueWidth);
  /// The records of another container, which is left as it is. Linear.
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
  /// Makes no use of the hint.
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
  int index(const TreeIterator& it) override;
  TreeIterator withIndex(int rank) override;
  /// Lets memory be taken in pieces for this many nodes and records.
  void reserve(int records) override;

  /// The first record whose key is not less than `key`, or `end()`; for dimension 0 `find`.
  TreeIterator exactLowerBound(const int* key);
  /// Adds a record before `at`, which `exactLowerBound` gave for its key; the key is absent.
  TreeIterator insertAt(const TreeIterator& at, const int* key, const double* values);

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
  ScalarRecord scalar_;  ///< The record of dimension 0.
  TreeIterator end_;
};

}  // namespace zdb::dmap
