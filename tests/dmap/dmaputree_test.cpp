// What is particular to DMapUTree.

#include "dmap/dmaputree.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <variant>

#include "dmap/container_model.h"

namespace zdb::dmap {
namespace {

using test::Key;

DMapUTree treeOf(int dim, const std::vector<Key>& keys) {
  DMapUTree records(dim, 1);
  for (const Key& key : keys) {
    const double value = key.back();
    records.emplace(key.data(), &value);
  }
  return records;
}

std::vector<double> valuesOf(DMapUTree& records) {
  std::vector<double> values;
  for (TreeIterator it = records.begin(); it != records.end(); ++it)
    values.push_back(*(*it).second);
  return values;
}

TEST(TreeIterator, AllShareOneKey) {
  DMapUTree records = treeOf(2, {{1, 2}, {3, 4}});
  const VirtualPair first = *records.begin();
  EXPECT_EQ(first.first[1], 2);
  const VirtualPair other = *treeOf(1, {{9}}).begin();
  EXPECT_EQ(first.first, other.first);
  EXPECT_EQ(first.first[0], 9);
  EXPECT_EQ(*first.second, 2);  // values stay where they are
}

TEST(TreeIterator, TheOtherKindOfPosition_IsRefused) {
  DMapUTree records = treeOf(1, {{1}});
  DMapUTree scalar(0, 1);
  EXPECT_THROW(records.begin().scalar(), std::bad_variant_access);
  EXPECT_THROW(scalar.begin().position(), std::bad_variant_access);
  EXPECT_THROW(scalar.index(records.begin()), std::bad_variant_access);
  EXPECT_TRUE(scalar.exactLowerBound(nullptr) == scalar.end());
  EXPECT_EQ(scalar.getTree(), nullptr);
  scalar.toPDF("nothing to draw");
}

TEST(PairForIterator, IsEmptyWithoutAllNodes_AndRefusedWithoutValues) {
  DMapUTree records = treeOf(2, {{4, 5}});
  utree::UELNodeIt at = records.begin().position();
  EXPECT_EQ(constructPairForIterator(2, at).first[1], 5);
  EXPECT_EQ(constructPairForIterator(3, at).first, nullptr);
  EXPECT_EQ(constructPairForIterator(2, records.end().position()).second, nullptr);
  at.setLeaf(at[0]);
  EXPECT_THROW(constructPairForIterator(2, at), std::bad_variant_access);
}

TEST(DMapUTree, ACopy_LeadsALifeOfItsOwn) {
  using Values = std::vector<double>;
  DMapUTree records = treeOf(2, {{1, 1}, {1, 2}, {2, 3}});
  DMapUTree copy(records);
  DMapUTree assigned = treeOf(2, {{7, 7}});
  assigned.assign(records);
  records = *&records;
  *(*records.begin()).second = 9;
  records.erase(records.withIndex(2));
  EXPECT_EQ(valuesOf(records), (Values{9, 2}));
  for (DMapUTree* other : {&copy, &assigned}) {
    EXPECT_EQ(valuesOf(*other), (Values{1, 2, 3}));
    TreeIterator it = other->end();
    EXPECT_EQ(*(*--it).second, 3);
    const double value = 4;
    other->emplace_end(Key{2, 4}.data(), &value);  // the last position is known
    EXPECT_EQ(valuesOf(*other), (Values{1, 2, 3, 4}));
  }
  for (const auto& [dim, width] : {std::pair{1, 1}, {2, 5}, {0, 1}}) {
    EXPECT_THROW(copy = DMapUTree(dim, width), std::invalid_argument);
  }
  EXPECT_EQ(copy.size(), 4U);

  DMapUTree scalar(0, 1);
  const double value = 3;
  scalar.emplace(nullptr, &value);
  DMapUTree scalarCopy(scalar);
  scalar.clear();
  EXPECT_EQ(valuesOf(scalarCopy), Values{3});
  scalarCopy = scalar;
  EXPECT_TRUE(scalarCopy.begin() == scalarCopy.end());
  scalar.emplace(nullptr, &value);
  scalarCopy = scalar;
  EXPECT_EQ(valuesOf(scalarCopy), Values{3});
}

}  // namespace
}  // namespace zdb::dmap
