// One ordered map out of forty kinds, chosen at run time by key length and value width.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "dmap/idmap.h"
#include "dmap/recordtree.h"

namespace zdb::dmap {

/// A position in an `AnySizeMap` or, for dimension 0, the address of a double. Trivially copyable.
class AnySizeMapIterator {
 public:
  AnySizeMapIterator() = default;
  explicit AnySizeMapIterator(double* scalar)
      : at_{reinterpret_cast<int*>(scalar), nullptr, 0, 0} {}
  AnySizeMapIterator(const RecordTreeBase* tree, const RecordPosition& at) : at_(at), tree_(tree) {}

  /// As RecordTreeBase::nextInLeaf; false for a scalar.
  bool nextInLeaf() { return tree_ != nullptr && tree_->nextInLeaf(at_); }
  void next() {
    if (tree_ != nullptr) {
      tree_->next(at_);
    } else {
      moveScalar(1);
    }
  }
  void prev() {
    if (tree_ != nullptr) {
      tree_->prev(at_);
    } else {
      moveScalar(-1);
    }
  }
  bool operator==(const AnySizeMapIterator& other) const { return at_.key == other.at_.key; }
  bool isNull() const { return at_.key == nullptr; }
  /// At the end of a map, or default-constructed: there is no record.
  bool isTreeEnd() const { return static_cast<const void*>(at_.key) == tree_; }
  /// The record, key first.
  int* record() const { return at_.key; }
  const RecordTreeBase* tree() const { return tree_; }
  const RecordPosition& position() const { return at_; }

 private:
  void moveScalar(int doubles) {
    if (at_.key != nullptr) at_.key += doubles * static_cast<int>(sizeof(double) / sizeof(int));
  }

  RecordPosition at_;
  const RecordTreeBase* tree_ = nullptr;  ///< null for dimension 0
};

/// Owns one record tree of the kind that fits (1 <= key length <= 20, one or five doubles), or none
/// for key length 0, which is a scalar and needs no map.
class AnySizeMap {
 public:
  /// Throws std::invalid_argument unless 0 <= keyLength <= 20.
  AnySizeMap(int keyLength, int valueWidth);

  bool hasMap() const { return tree_ != nullptr; }
  RecordTreeBase& tree() { return *tree_; }
  const RecordTreeBase& tree() const { return *tree_; }

 private:
  std::unique_ptr<RecordTreeBase> tree_;
};

}  // namespace zdb::dmap
