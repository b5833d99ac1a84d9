// What only users of the tree itself can see; as a container it is tested with the others.

#include "utree/utree.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <variant>
#include <vector>

namespace utree {
namespace {

using Key = std::vector<int>;

/// The key number `id` of the 64 with 3 labels below 4.
Key keyOf(int id) {
  return {id / 16, id / 4 % 4, id % 4};
}

Key keyAt(const UTree& tree, const UELNodeIt& it) {
  Key key(3);
  return tree.dereferenceIterator(it, key.data(), nullptr) ? key : Key();
}

/// A tree of every third of these keys.
UTree sparseTree() {
  UTree tree(3, 1);
  for (int id = 0; id < 64; id += 3) {
    const double value = id;
    tree.emplace(keyOf(id).data(), &value);
  }
  return tree;
}

TEST(UTree, Searches_FromAnyStart_FindTheSame) {
  const UTree tree = sparseTree();
  for (UELNodeIt start = tree.begin();; tree.nextInPlace(start)) {
    for (int id = 0; id < 64; ++id) {
      const Key key = keyOf(id);
      const auto found = tree.find(key.data(), &start);
      ASSERT_EQ(found.has_value(), id % 3 == 0) << id << " from " << tree.str(start);
      ASSERT_EQ(tree.contains(key.data()), id % 3 == 0);
      ASSERT_TRUE(!found || *found == *tree.find(key.data()));
      const Key before = keyAt(tree, tree.findPredecessor(key.data()));
      ASSERT_EQ(before, id == 0 ? Key() : keyOf((id + 2) / 3 * 3 - 3));
    }
    if (start.isEnd()) break;
  }
}

TEST(UTree, RecordsErasedByKeyOrCleared_AreGoneButTheirNodesStay) {
  UTree tree = sparseTree();
  const UELNodeIt first = tree.begin();
  EXPECT_FALSE(tree.erase(Key{9, 9, 9}.data()));
  EXPECT_TRUE(tree.erase(Key{0, 2, 1}.data()));
  EXPECT_FALSE(tree.contains(Key{0, 2, 1}.data()));
  tree.clear();
  double value = 7;
  tree.emplace_end(Key{0, 0, 0}.data(), &value);
  tree.erase(first);
  EXPECT_EQ(tree.str(first), "0,0,0: 0.000000");
  EXPECT_EQ(keyAt(tree, tree.next(first)), keyOf(3));
  EXPECT_TRUE(tree.prev(first) == first);
  value = 0;
  EXPECT_TRUE(tree.dereferenceIterator(tree.last(), nullptr, &value) && value == 7);
  EXPECT_FALSE(tree.dereferenceIterator(tree.end(), nullptr, &value));
  EXPECT_THROW(tree.getFirst()->down.values(), std::bad_variant_access);
  EXPECT_THROW(UTree(0, 1), std::invalid_argument);
}

// Lists are as long as a symbol has records: nothing may recurse along them, and without an index
// these searches would take minutes.
TEST(UTree, ALongList_IsCopiedPrintedSearchedAndFreed) {
  constexpr int kLabels = 300000;
  UTree tree(1, 1);
  const double value = 1;
  for (int label = 1; label <= kLabels; ++label) tree.emplace_end(&label, &value);
  const UTree copy(tree);
  std::FILE* nowhere = std::fopen("/dev/null", "w");
  ASSERT_NE(nowhere, nullptr);
  copy.pprint(nowhere);
  std::fclose(nowhere);
  EXPECT_TRUE(copy.toDotFile("/dev/null"));
  for (int label = kLabels; label > 0; label -= 3) ASSERT_TRUE(tree.erase(&label));
  for (auto it = copy.end(); !(it == copy.begin());) it = copy.prev(it);
  EXPECT_EQ(tree.size(), kLabels / 3 * 2U);
}

}  // namespace
}  // namespace utree
