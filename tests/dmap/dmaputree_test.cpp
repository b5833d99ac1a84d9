// What is particular to DMapUTree.

#include "dmap/dmaputree.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <variant>

namespace zdb::dmap {
namespace {

/// A tree with one key of 2 labels, the second one also as value.
DMapUTree treeOf(int label) {
  DMapUTree records(2, 1);
  const double value = label;
  const int key[] = {1, label};
  records.emplace(key, &value);
  return records;
}

TEST(TreeIterator, AllShareOneKey) {
  DMapUTree records = treeOf(2);
  const VirtualPair first = *records.begin();
  const VirtualPair other = *treeOf(9).begin();
  EXPECT_EQ(first.first, other.first);
  EXPECT_EQ(first.first[1], 9);
  EXPECT_EQ(*first.second, 2);  // values stay where they are
}

TEST(TreeIterator, WithoutNodesOrValues_IsEmptyOrRefused) {
  DMapUTree records = treeOf(5);
  utree::UELNodeIt at = records.begin().position();
  EXPECT_EQ(constructPairForIterator(3, at).first, nullptr);
  at.setLeaf(at[0]);
  EXPECT_THROW(constructPairForIterator(2, at), std::bad_variant_access);
}

TEST(DMapUTree, Assignment_CopiesRecordsOfTheSameKindOnly) {
  DMapUTree records = treeOf(7);
  DMapUTree assigned = treeOf(3);
  assigned.assign(records);
  records = *&records;
  *(*records.begin()).second = 9;
  EXPECT_EQ(*(*records.begin()).second, 9);
  EXPECT_EQ(*(*--assigned.end()).second, 7);
  for (const auto& [dim, width] : {std::pair{1, 1}, {2, 5}, {0, 1}}) {
    EXPECT_THROW(records = DMapUTree(dim, width), std::invalid_argument);
  }
  EXPECT_EQ(records.size(), 1U);

  DMapUTree scalar(0, 1);
  DMapUTree filled(0, 1);
  const double value = 4;
  filled.emplace(nullptr, &value);
  EXPECT_EQ(*(*(scalar = filled).begin()).second, 4);
  EXPECT_TRUE((scalar = DMapUTree(0, 1)).empty());
}

}  // namespace
}  // namespace zdb::dmap
