// What no caller can see of the containers: the one test that reaches into them.
#pragma once

#include <cstdint>

#include "dmap/dmapvector.h"
#include "dmap/recordtree.h"

namespace zdb::test {

/// Counts the records and nodes of a tree.
struct Structure {
  explicit Structure(const dmap::RecordTreeBase& tree) {
    if (tree.root_ != nullptr) visit(tree.root_, tree.height_, 2);
    isSound &= records == tree.records_.live() && leaves == tree.leaves_.live() &&
               inners == tree.inners_.live() && leaves <= 2 + records / 10 &&
               inners <= 2 + leaves / 6;
  }
  explicit Structure(const dmap::DMapVector& vector)
      : isSound(vector.plain_ >= 0 && vector.plain_ <= vector.count_) {}

  std::uint32_t records = 0;
  std::uint32_t leaves = 0;
  std::uint32_t inners = 0;
  /// Whether no node is empty, the root branches, there are not many nodes, and the pools have
  /// nothing else in use; or whether no more records are known to be in order than there are.
  bool isSound = true;

 private:
  void visit(void* node, std::uint32_t height, std::uint32_t fewestChildren) {
    if (height == 0) {
      const std::uint32_t count = static_cast<dmap::RecordLeaf*>(node)->count;
      isSound &= count > 0;
      records += count;
      ++leaves;
      return;
    }
    auto* inner = static_cast<dmap::RecordInner*>(node);
    isSound &= inner->count >= fewestChildren;
    ++inners;
    for (std::uint32_t i = 0; i < inner->count; ++i) visit(inner->children[i], height - 1, 1);
  }
};

}  // namespace zdb::test
