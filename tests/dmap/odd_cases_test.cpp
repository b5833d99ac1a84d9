// Positions at no record, scalars, records by themselves, and what is particular to the tree; what
// containers have in common is in containers_test.cpp.

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <variant>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "support/allocations.h"

namespace zdb::dmap {
namespace {

template <class Map>
class OddCases : public testing::Test {
 protected:
  using It = decltype(std::declval<Map&>().end());
  using OtherIt = std::conditional_t<std::is_same_v<Map, DMap>, VectorIterator, DMapIterator>;
  /// Whether positions know their container and their record; else they are mere numbers.
  static constexpr bool kKnows = !std::is_same_v<Map, DMapVector>;
  static constexpr bool kIsTree = std::is_same_v<Map, DMapUTree>;

  It add(int label) {
    const double value = label;
    return map_.emplace(&label, &value);
  }

  Map map_{1, 1};
};

using AllContainers = testing::Types<DMap, DMapVector, DMapUTree>;
TYPED_TEST_SUITE(OddCases, AllContainers);

TYPED_TEST(OddCases, DimOutOfRange_Throws) {
  for (const int dim : {-1, 21, INT_MIN, INT_MAX}) {
    EXPECT_THROW(TypeParam(dim, 1), std::invalid_argument) << dim;
  }
}

TYPED_TEST(OddCases, NullPosition_StaysWhereItIs) {
  auto& map = this->map_;
  typename TestFixture::It null;
  EXPECT_TRUE(null == typename TestFixture::It() && null != map.end());
  EXPECT_TRUE(null.isNullPtr() && (++null).isNullPtr() && (--null).isNullPtr());
  EXPECT_FALSE(map.end().isNullPtr());
  EXPECT_TRUE((*null).second == nullptr && (*map.end()).second == nullptr);
}

TYPED_TEST(OddCases, PositionsAtNoRecordOfTheirs_EraseNothingAndHaveNoRank) {
  TypeParam& map = this->map_;
  TypeParam other(1, 1);
  const double value = 300;
  for (int label = 1; label <= 200; ++label) other.emplace(&label, &(*this->add(label)).second[0]);
  auto stale = map.withIndex(99);
  map.erase(stale);
  auto foreign = other.begin();
  for (const auto& it : {typename TestFixture::It(), map.end(), stale, foreign}) {
    if (!this->kKnows && it != map.end()) continue;
    map.erase(it);
    EXPECT_EQ(map.size(), 199U);
    EXPECT_EQ(map.index(it), this->kIsTree && it == map.end() ? 199 : -1);
    EXPECT_FALSE(it == map.begin());
  }
  EXPECT_EQ(other.size(), 200U);
  if (!this->kKnows) return;
  // From an erased record the tree goes on to the next one, and the map to the end.
  auto next = stale;
  EXPECT_TRUE(++next == (this->kIsTree ? map.withIndex(99) : map.end()));
  EXPECT_TRUE(--stale == (this->kIsTree ? map.withIndex(98) : map.end()));
  const int label = 300;
  EXPECT_EQ(*(*map.emplace_hint(&label, &value, foreign)).second, 300);
  EXPECT_TRUE(other.end() != map.end() || this->kIsTree);
}

TYPED_TEST(OddCases, PositionsOfOtherKinds_AreNotEqual) {
  const auto begin = this->add(1);
  const IDMapIterator& interface = begin;
  EXPECT_TRUE(interface == this->map_.begin());
  EXPECT_TRUE(interface != this->map_.end());
  EXPECT_TRUE(interface != typename TestFixture::OtherIt());
}

TYPED_TEST(OddCases, Scalar_HasBoundsAndRanksOfItsOwn) {
  for (const int width : {0, 1, 2, 5}) {
    TypeParam map(0, width);
    EXPECT_TRUE(map.lower_bound(nullptr) == map.end());
    const double values[] = {1, 2, 3, 4, 5};
    auto it = map.emplace(nullptr, values);
    const VirtualPair record = *it;
    EXPECT_TRUE(std::equal(values, values + (width < 2 ? 1 : 5), record.second));
    EXPECT_EQ(map.index(it), this->kKnows ? 0 : -1);
    if (!this->kKnows) continue;
    // Callers rely on find: the bound of a scalar is not a position.
    EXPECT_TRUE(map.lower_bound(nullptr).isNullPtr());
    EXPECT_TRUE(++it == map.end());
    EXPECT_TRUE(--it == map.begin());
  }
}

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

TEST(VirtualPair, FreesWhatItOwnsAndNothingElse) {
  for (const auto owned :
       {ElemOwnership::None, ElemOwnership::OwnsKey, ElemOwnership::OwnsKeyAndValues}) {
    const int* key = new int[3];
    double* values = new double[50];
    SCOPED_TRACE(testing::Message()
                 << key << values);  // lest the compiler leaves out new and delete
    const test::Allocations allocations;
    { const VirtualPair pair(key, values, owned); }
    const std::int64_t freed = -allocations.liveBytes();
    EXPECT_EQ(freed > 0, owned != ElemOwnership::None);
    EXPECT_EQ(freed > 400, owned == ElemOwnership::OwnsKeyAndValues);
    if (owned == ElemOwnership::None) delete[] key;
    if (owned != ElemOwnership::OwnsKeyAndValues) delete[] values;
  }
}

TEST(WildcardComparison, SkipsPositionsWithAZero) {
  const struct {
    int a[3];
    int b[3];
    int dim;
    int expected;
  } cases[] = {
      {{3, 0, 7}, {3, 9, 7}, 3, 0},  {{3, 9, 7}, {3, 0, 7}, 3, 0},
      {{3, 5, 7}, {3, 9, 1}, 3, -4}, {{3, 9, 1}, {3, 5, 7}, 3, 4},
      {{3, 5, 7}, {3, 9, 1}, 1, 0},  {{3, 5, 7}, {4, 9, 1}, 0, 0},
      {{0, 2, 9}, {5, 2, 8}, 3, 1},  {{INT_MAX, 1, 1}, {-1, 1, 1}, 3, INT_MIN},
  };
  for (const auto& [a, b, dim, expected] : cases) {
    EXPECT_EQ(recordNumericKeysCompareWithWildcard(a, b, dim), expected) << a[0] << ", dim " << dim;
  }
}

}  // namespace
}  // namespace zdb::dmap
