// What only users of the tree itself can see; as a container it is tested with the others.

#include "utree/utree.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <variant>
#include <vector>

namespace utree {
namespace {

using Key = std::vector<int>;

Key keyAt(const UTree& tree, const UELNodeIt& it) {
  Key key(static_cast<std::size_t>(tree.getDim()));
  return tree.dereferenceIterator(it, key.data(), nullptr) ? key : Key();
}

/// A tree of every third key of 3 labels below 4.
UTree sparseTree() {
  UTree tree(3, 1);
  for (int id = 0; id < 64; id += 3) {
    const double value = id;
    tree.emplace(Key{id / 16, id / 4 % 4, id % 4}.data(), &value);
  }
  return tree;
}

TEST(UTree, SearchesAndInsertions_FromAnyStart_DoTheSame) {
  const UTree tree = sparseTree();
  for (UELNodeIt start = tree.begin();; tree.nextInPlace(start)) {
    for (int id = 0; id < 64; ++id) {
      const Key key{id / 16, id / 4 % 4, id % 4};
      const auto found = tree.find(key.data(), &start);
      ASSERT_EQ(found.has_value(), id % 3 == 0) << id << " from " << tree.str(start);
      ASSERT_EQ(tree.contains(key.data()), id % 3 == 0);
      ASSERT_TRUE(!found || *found == *tree.find(key.data()));
      const UELNodeIt before = tree.findPredecessor(key.data());
      const int expected = (id + 2) / 3 * 3 - 3;
      ASSERT_EQ(keyAt(tree, before),
                id == 0 ? Key() : Key({expected / 16, expected / 4 % 4, expected % 4}));
    }
    if (start.isEnd()) break;
  }
}

TEST(UTree, PositionsAtErasedRecords_CanBeMovedAndAreNotErasedAgain) {
  UTree tree = sparseTree();
  const UELNodeIt first = tree.begin();
  const UELNodeIt gone = tree.withIndex(2);
  for (int i = 0; i < 2; ++i) tree.erase(gone);
  tree.erase(tree.end());
  EXPECT_EQ(tree.size(), 21U);
  EXPECT_TRUE(tree.next(gone) == tree.withIndex(2));
  EXPECT_TRUE(tree.prev(gone) == tree.withIndex(1));
  sparseTree().erase(first);
  EXPECT_FALSE(tree.erase(Key{9, 9, 9}.data()));
  EXPECT_TRUE(tree.erase(Key{0, 2, 1}.data()));
  EXPECT_FALSE(tree.contains(Key{0, 2, 1}.data()));

  // Even a cleared tree keeps its nodes.
  tree.clear();
  const double value = 7;
  tree.emplace_end(Key{0, 0, 0}.data(), &value);
  tree.erase(first);
  EXPECT_EQ(tree.str(first), "0,0,0: 0.000000");
  EXPECT_EQ(keyAt(tree, tree.next(first)), (Key{0, 0, 3}));
  EXPECT_TRUE(tree.prev(first) == first);
  double stored = 0;
  EXPECT_TRUE(tree.dereferenceIterator(tree.last(), nullptr, &stored));
  EXPECT_EQ(stored, 7);
  EXPECT_FALSE(tree.dereferenceIterator(tree.end(), nullptr, &stored));
  EXPECT_THROW(tree.getFirst()->down.values(), std::bad_variant_access);
  EXPECT_THROW(UTree(0, 1), std::invalid_argument);
}

// Lists are as long as a symbol has records: nothing may recurse along them, and without an index
// these searches would take minutes.
TEST(UTree, ALongList_IsCopiedPrintedSearchedAndFreed) {
  constexpr int kLabels = 300000;
  UTree tree(1, 1);
  for (int label = 1; label <= kLabels; ++label) {
    const double value = label;
    tree.emplace_end(&label, &value);
  }
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
