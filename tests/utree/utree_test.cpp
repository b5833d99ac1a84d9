#include "utree/utree.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <random>
#include <variant>

#include "utree/utree_testing.h"

namespace zdb::test {
namespace {

using utree::UELNode;
using utree::UELNodeIt;
using utree::UTree;

TEST(UTree, Append_SharesTheNodesOfThePrefix) {
  const UTree tree = treeOf(2, {{{1, 1}, 1}, {{1, 2}, 2}, {{2, 1}, 3}});
  const UELNode* one = tree.getFirst();
  const UELNode* two = one->right;
  EXPECT_EQ(one->uel, 1);
  EXPECT_EQ(two->uel, 2);
  EXPECT_TRUE(two->right == nullptr);
  EXPECT_EQ(one->down.first()->uel, 1);
  EXPECT_EQ(one->down.first()->right->uel, 2);
  EXPECT_TRUE(two->down.first()->right == nullptr);
  EXPECT_EQ(*two->down.first()->down.values(), 3);
  EXPECT_THROW(one->down.values(), std::bad_variant_access);
  EXPECT_EQ(one->down.first()->down.first(), nullptr);
}

TEST(UTree, DimOutOfRange_Throws) {
  for (const int dim : {-1, 0, 21, 1000}) EXPECT_THROW(UTree(dim, 1), std::invalid_argument) << dim;
}

TEST(UTree, Insert_OverwritesTheLargestKeyOnly) {
  const struct {
    bool atEnd;
    TreeKey key;
    const char* expected;
  } steps[] = {
      {true, {1, 2}, "1,2: 1.000000"},
      {true, {1, 1}, "1,1: 2.000000 1,2: 1.000000"},
      {true, {1, 2}, "1,1: 2.000000 1,2: 3.000000"},
      {false, {1, 2}, "1,1: 2.000000 1,2: 4.000000"},
      {false, {1, 1}, "1,1: 2.000000 1,2: 4.000000"},
      {true, {1, 1}, "1,1: 2.000000 1,2: 4.000000"},
      {false, {0, 9}, "0,9: 7.000000 1,1: 2.000000 1,2: 4.000000"},
      {false, {2, -1}, "0,9: 7.000000 1,1: 2.000000 1,2: 4.000000 2,-1: 8.000000"},
  };
  UTree tree(2, 1);
  double value = 0;
  for (const auto& step : steps) {
    ++value;
    const UELNodeIt at = step.atEnd ? tree.emplace_end(step.key.data(), &value)
                                    : tree.emplace(step.key.data(), &value);
    EXPECT_EQ(textOf(tree), step.expected);
    EXPECT_TRUE(at == *tree.find(step.key.data()));
    EXPECT_EQ(tree.verify(), "");
  }
}

TEST(UTree, Find_WithAnyStart_FindsTheSame) {
  UTree tree(3, 1);
  const double value = 1;
  for (int id = 0; id < 64; id += 3) {
    const int key[] = {id / 16, id / 4 % 4, id % 4};
    tree.emplace_end(key, &value);
  }
  for (UELNodeIt start = tree.begin();; tree.nextInPlace(start)) {
    for (int id = 0; id < 64; ++id) {
      const int key[] = {id / 16, id / 4 % 4, id % 4};
      const auto found = tree.find(key, &start);
      ASSERT_EQ(found.has_value(), id % 3 == 0) << id << " from " << tree.str(start);
      ASSERT_EQ(tree.contains(key), id % 3 == 0);
      if (found) {
        ASSERT_TRUE(*found == *tree.find(key));
      }
    }
    if (start.isEnd()) break;
  }
}

TEST(UTree, Erase_TakesAlongTheNodesThatNoRecordIsLeftIn) {
  UTree tree = treeOf(3, {{{1, 1, 1}, 1}, {{1, 1, 2}, 2}, {{1, 2, 1}, 3}, {{3, 3, 3}, 4}});
  const auto eraseAndCount = [&tree](const TreeKey& key) {
    EXPECT_TRUE(tree.erase(key.data()));
    EXPECT_FALSE(tree.erase(key.data()));
    EXPECT_EQ(tree.verify(), "");
    return tree.collectNodeIds().size();
  };
  EXPECT_EQ(tree.collectNodeIds().size(), 9u);
  EXPECT_EQ(eraseAndCount({1, 1, 1}), 8u);
  EXPECT_EQ(eraseAndCount({3, 3, 3}), 5u);  // which moves the last position back
  EXPECT_EQ(tree.str(tree.last()), "1,2,1: 3.000000");
  EXPECT_EQ(eraseAndCount({1, 1, 2}), 3u);
  EXPECT_EQ(eraseAndCount({1, 2, 1}), 0u);
  EXPECT_EQ(tree.getFirst(), nullptr);
  EXPECT_TRUE(tree.begin() == tree.end());
}

TEST(UTree, Positions_AtErasedRecords_CanBeMovedAndAreNotErasedAgain) {
  UTree tree = treeOf(2, {{{1, 1}, 1}, {{1, 2}, 2}, {{2, 1}, 3}, {{3, 1}, 4}});
  const UELNodeIt gone = tree.withIndex(2);
  tree.erase(gone);
  tree.erase(gone);
  tree.erase(tree.end());
  EXPECT_EQ(textOf(tree), "1,1: 1.000000 1,2: 2.000000 3,1: 4.000000");
  EXPECT_EQ(tree.str(tree.next(gone)), "3,1: 4.000000");
  EXPECT_EQ(tree.str(tree.prev(gone)), "1,2: 2.000000");
  EXPECT_EQ(tree.index(gone), -1);

  UTree other = treeOf(2, {{{1, 1}, 1}});
  other.erase(tree.begin());
  EXPECT_EQ(other.size(), 1u);

  // Even a cleared tree keeps its nodes.
  const UELNodeIt old = tree.begin();
  tree.clear();
  tree.emplace_end(TreeKey{1, 1}.data(), other.begin().leaf()->down.values());
  tree.erase(old);
  EXPECT_EQ(tree.str(tree.next(old)), "1,2: 2.000000");
  EXPECT_TRUE(tree.prev(old) == old);
  EXPECT_EQ(textOf(tree), "1,1: 1.000000");
  EXPECT_EQ(tree.verify(), "");
}

TEST(UTree, Ranks_CountFromBeginToEnd) {
  const UTree tree = treeOf(1, {{{4}, 1}, {{6}, 2}, {{8}, 3}});
  EXPECT_EQ(tree.index(tree.begin()), 0);
  EXPECT_EQ(tree.index(tree.last()), 2);
  EXPECT_EQ(tree.index(tree.end()), 3);
  EXPECT_TRUE(tree.withIndex(-5) == tree.begin());
  EXPECT_TRUE(tree.withIndex(2) == tree.last());
  EXPECT_TRUE(tree.withIndex(3) == tree.end());
  EXPECT_TRUE(tree.prev(tree.end()) == tree.last());
  EXPECT_TRUE(tree.prev(tree.begin()) == tree.begin());
  EXPECT_TRUE(tree.next(tree.end()) == tree.end());
  int key = 0;
  double value = 0;
  EXPECT_TRUE(tree.dereferenceIterator(tree.last(), &key, nullptr));
  EXPECT_TRUE(tree.dereferenceIterator(tree.begin(), nullptr, &value));
  EXPECT_FALSE(tree.dereferenceIterator(tree.end(), &key, &value));
  EXPECT_EQ(key, 8);
  EXPECT_EQ(value, 1);
}

/// A tree beside a std::map, with lists of siblings that grow and shrink across the lengths at
/// which they get an index and its chunks are cut.
class TreeAndModel {
 public:
  TreeAndModel(int dim, int labels) : tree_(dim, 1), dim_(dim), labels_(labels) {}

  void step(std::mt19937& random, bool isGrowing) {
    const TreeKey key = keyFrom(random);
    const double value = ++steps_;
    const auto last = model_.empty() ? model_.end() : std::prev(model_.end());
    if ((random() % 4 > 0) == isGrowing) {
      tree_.emplace(key.data(), &value);
      const auto [record, isNew] = model_.try_emplace(key, value);
      if (!isNew && record == last) record->second = value;
    } else {
      ASSERT_EQ(tree_.erase(key.data()), model_.erase(key) == 1);
    }
    look(keyFrom(random));
  }

  void check() {
    ASSERT_EQ(tree_.verify(), "");
    ASSERT_EQ(tree_.size(), model_.size());
    auto it = tree_.begin();
    for (const auto& record : model_) {
      ASSERT_EQ(keyOf(it), record.first);
      ASSERT_EQ(*it.leaf()->down.values(), record.second);
      tree_.nextInPlace(it);
    }
    ASSERT_TRUE(it.isEnd());
    for (auto record = model_.rbegin(); record != model_.rend(); ++record) {
      it = tree_.prev(it);
      ASSERT_EQ(keyOf(it), record->first);
    }
  }

 private:
  TreeKey keyFrom(std::mt19937& random) const {
    TreeKey key(static_cast<std::size_t>(dim_), 1);
    for (int& label : key) label = static_cast<int>(random() % static_cast<unsigned>(labels_)) - 5;
    return key;
  }

  TreeKey keyOf(const UELNodeIt& it) const {
    TreeKey key(static_cast<std::size_t>(dim_));
    tree_.dereferenceIterator(it, key.data(), nullptr);
    return key;
  }

  void look(const TreeKey& key) const {
    const auto bound = model_.lower_bound(key);
    const auto found = tree_.lower_bound(key.data());
    ASSERT_EQ(found.has_value(), bound != model_.end());
    if (found) {
      ASSERT_EQ(keyOf(*found), bound->first);
    }
    const UELNodeIt before = tree_.findPredecessor(key.data());
    ASSERT_EQ(before.isEnd(), bound == model_.begin());
    if (!before.isEnd()) {
      ASSERT_EQ(keyOf(before), std::prev(bound)->first);
    }
    ASSERT_EQ(tree_.contains(key.data()), model_.contains(key));
  }

  UTree tree_;
  std::map<TreeKey, double> model_;
  int dim_;
  int labels_;
  int steps_ = 0;
};

TEST(UTree, ListsOfEveryLength_BehaveLikeAStandardMap) {
  const struct {
    int dim;
    int labels;
    int steps;
  } cases[] = {{1, 5000, 12000}, {2, 80, 12000}, {3, 12, 6000}, {20, 2, 2000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dim);
    std::mt19937 random(7);
    TreeAndModel subject(c.dim, c.labels);
    for (int i = 0; i < c.steps; ++i) {
      // Grows for three quarters of the steps and then shrinks to nearly nothing.
      ASSERT_NO_FATAL_FAILURE(subject.step(random, i < c.steps * 3 / 4));
      if (i % 500 == 0) {
        ASSERT_NO_FATAL_FAILURE(subject.check());
      }
    }
    ASSERT_NO_FATAL_FAILURE(subject.check());
  }
}

}  // namespace
}  // namespace zdb::test
