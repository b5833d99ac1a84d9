// What is particular to DMapUTree.

#include "dmap/dmaputree.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <variant>
#include <vector>

#include "dmap/container_model.h"

namespace zdb::dmap {
namespace {

using test::Key;
using Labels = std::vector<double>;

/// A tree of keys of 2 labels, the second one also as value.
DMapUTree treeOf(const Labels& labels) {
  DMapUTree records(2, 1);
  for (const double& label : labels)
    records.emplace(Key{1, static_cast<int>(label)}.data(), &label);
  return records;
}

Labels valuesOf(DMapUTree& records) {
  Labels values;
  for (const VirtualPair& record : records) values.push_back(*record.second);
  return values;
}

TEST(TreeIterator, AllShareOneKey) {
  DMapUTree records = treeOf({2});
  const VirtualPair first = *records.begin();
  const VirtualPair other = *treeOf({9}).begin();
  EXPECT_EQ(first.first, other.first);
  EXPECT_EQ(first.first[1], 9);
  EXPECT_EQ(*first.second, 2);  // values stay where they are
}

TEST(TreeIterator, WithoutNodesOrValues_IsEmptyOrRefused) {
  DMapUTree records = treeOf({5});
  DMapUTree scalar(0, 1);
  EXPECT_THROW(records.begin().scalar(), std::bad_variant_access);
  EXPECT_THROW(scalar.begin().position(), std::bad_variant_access);
  EXPECT_THROW(scalar.index(records.begin()), std::bad_variant_access);
  scalar.toPDF("nothing to draw");
  utree::UELNodeIt at = records.begin().position();
  EXPECT_EQ(constructPairForIterator(2, at).first[1], 5);
  EXPECT_EQ(constructPairForIterator(3, at).first, nullptr);
  EXPECT_EQ(constructPairForIterator(2, records.end().position()).second, nullptr);
  at.setLeaf(at[0]);
  EXPECT_THROW(constructPairForIterator(2, at), std::bad_variant_access);
}

TEST(DMapUTree, ACopy_LeadsALifeOfItsOwn) {
  DMapUTree records = treeOf({1, 2, 3});
  DMapUTree copy(records);
  DMapUTree assigned = treeOf({7});
  assigned.assign(records);
  records = *&records;
  *(*records.begin()).second = 9;
  records.erase(records.withIndex(2));
  EXPECT_EQ(valuesOf(records), (Labels{9, 2}));
  const double value = 4;
  for (DMapUTree* other : {&copy, &assigned}) {
    other->emplace_end(Key{1, 4}.data(), &value);  // the last position is known
    EXPECT_EQ(valuesOf(*other), (Labels{1, 2, 3, 4}));
    TreeIterator it = other->end();
    EXPECT_EQ(*(*--it).second, 4);
  }
  for (const auto& [dim, width] : {std::pair{1, 1}, {2, 5}, {0, 1}}) {
    EXPECT_THROW(copy = DMapUTree(dim, width), std::invalid_argument);
  }
  EXPECT_EQ(copy.size(), 4U);

  DMapUTree scalar(0, 1);
  DMapUTree filled(0, 1);
  filled.emplace(nullptr, &value);
  EXPECT_EQ(valuesOf(scalar = filled), Labels{4});
  EXPECT_EQ(valuesOf(scalar), valuesOf(*std::make_unique<DMapUTree>(filled)));
  EXPECT_TRUE((scalar = DMapUTree(0, 1)).empty());
}

}  // namespace
}  // namespace zdb::dmap
