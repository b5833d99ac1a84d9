// What the tree does with memory: blocks, copies, long lists, and allocations that fail.

#include <gtest/gtest.h>

#include <new>
#include <random>

#include "support/allocations.h"
#include "utree/utree.h"
#include "utree/utree_testing.h"

namespace zdb::test {
namespace {

using utree::UTree;

void appendRun(UTree& tree, int count) {
  const double values[5] = {1, 2, 3, 4, 5};
  for (int label = 1; label <= count; ++label) tree.emplace_end(&label, values);
}

TEST(UTreeMemory, Blocks_HaveTheReservedSize) {
  UTree tree(1, 1);
  tree.reserve(-1);
  appendRun(tree, 128);
  EXPECT_EQ(tree.nodeBlocks(), 3);  // 51 nodes of 20 bytes to 1024 bytes
  EXPECT_EQ(tree.valueBlocks(), 1);
  tree.reserve(10);
  const int blocks = tree.nodeBlocks();
  EXPECT_EQ(blocks, 3);
  appendRun(tree, 155);
  EXPECT_EQ(tree.nodeBlocks(), 4);
  EXPECT_EQ(tree.valueBlocks(), 4);

  UTree wide(1, 5);
  wide.reserve(100);
  appendRun(wide, 100);
  EXPECT_EQ(wide.nodeBlocks(), 1);
  EXPECT_EQ(wide.valueBlocks(), 1);
}

TEST(UTreeMemory, Records_TakeNoAllocationOfTheirOwn) {
  const Allocations allocations;
  UTree tree(1, 1);
  appendRun(tree, 10000);
  EXPECT_LE(allocations.count(), 10000u / 51 + 10000 / 128 + 2);
  // 20 bytes for the node and 8 for the value; up to an eighth of that is taken in advance.
  EXPECT_LE(static_cast<double>(tree.bytesUsed()) / 10000, 28 * 9 / 8.0);
}

// Lists are as long as a symbol has records: nothing may recurse along them.
TEST(UTreeMemory, ALongList_IsCopiedPrintedSearchedAndFreed) {
  constexpr int kLabels = 300000;
  UTree tree(1, 1);
  appendRun(tree, kLabels);
  const UTree copy(tree);
  EXPECT_EQ(copy.verify(), "");
  std::FILE* nowhere = std::fopen("/dev/null", "w");
  ASSERT_NE(nowhere, nullptr);
  copy.pprint(nowhere);
  std::fclose(nowhere);
  EXPECT_TRUE(copy.toDotFile("/dev/null"));
  // Without an index these searches would take minutes.
  for (int label = kLabels; label > 0; label -= 3) ASSERT_TRUE(tree.erase(&label));
  for (auto it = copy.end(); !(it == copy.begin());) it = copy.prev(it);
  EXPECT_EQ(tree.verify(), "");
  EXPECT_EQ(tree.size(), kLabels / 3 * 2u);
}

TEST(UTreeMemory, ACopy_LeadsALifeOfItsOwn) {
  UTree tree = treeOf(2, {{{1, 1}, 1}, {{1, 2}, 2}, {{2, 1}, 3}});
  UTree copy(tree);
  const int key[] = {2, 1};
  const double value = 9;
  copy.emplace_end(key, &value);  // the last position is known
  *tree.begin().leaf()->down.values() = 7;
  tree.erase(tree.last());
  EXPECT_EQ(textOf(copy), "1,1: 1.000000 1,2: 2.000000 2,1: 9.000000");
  EXPECT_EQ(copy.verify(), "");
  EXPECT_EQ(textOf(UTree(UTree(1, 1))), "");
}

// Fails one allocation after the other in the same work, which makes indexes of several chunks, and
// adds to them in the middle and in front.
TEST(UTreeMemory, AFailedAllocation_LeavesTheRecordsAsTheyWere) {
  std::uint64_t total = 1;
  for (std::uint64_t failing = 1; failing <= total; ++failing) {
    UTree tree(2, 1);
    std::mt19937 random(5);
    std::uint64_t records = 0;
    const Allocations allocations(failing);
    for (int i = 0; i < 1500; ++i) {
      const int key[] = {1, i % 2 == 0 ? static_cast<int>(random() % 2000) : -i};
      const double value = i;
      try {
        tree.emplace(key, &value);
      } catch (const std::bad_alloc&) {
        ASSERT_EQ(tree.verify(), "") << "allocation " << failing;
        ASSERT_EQ(tree.size(), records) << "allocation " << failing;
        ASSERT_FALSE(tree.contains(key)) << "allocation " << failing;
        tree.emplace(key, &value);
      }
      records = tree.size();
    }
    ASSERT_EQ(tree.verify(), "") << "allocation " << failing;
    if (failing == 1) total = allocations.count();
  }
  EXPECT_GT(total, 40u);
}

}  // namespace
}  // namespace zdb::test
