// Positions at no record, and scalars; all else that containers have in common is in
// containers_test.cpp.

#include <gtest/gtest.h>

#include <stdexcept>

#include "dmap/container_model.h"

namespace zdb::dmap {
namespace {

template <class Map>
class OddCases : public testing::Test {
 protected:
  using It = decltype(std::declval<Map&>().end());
  using OtherIt = std::conditional_t<std::is_same_v<Map, DMap>, VectorIterator, DMapIterator>;
  /// Whether positions know their container and their record; else they are mere numbers.
  static constexpr bool kKnows = test::Differences<Map>::kKeepsPlaces;
  static constexpr bool kIsTree = test::Differences<Map>::kIsTree;

  It add(int label) {
    const double value = label;
    return map_.emplace(&label, &value);
  }

  Map map_{1, 1};
  It null_;
};

using AllContainers = testing::Types<DMap, DMapVector, DMapUTree>;
TYPED_TEST_SUITE(OddCases, AllContainers);

TYPED_TEST(OddCases, DimOutOfRange_Throws) {
  for (const int dim : {-1, 21, INT_MIN, INT_MAX}) {
    EXPECT_THROW(TypeParam(dim, 1), std::invalid_argument) << dim;
  }
}

TYPED_TEST(OddCases, NullPosition_StaysWhereItIs) {
  auto& null = this->null_;
  EXPECT_TRUE(null == typename TestFixture::It() && null != this->map_.end());
  EXPECT_TRUE(null.isNullPtr() && (++null).isNullPtr() && (--null).isNullPtr());
  EXPECT_FALSE(this->map_.end().isNullPtr());
  EXPECT_EQ((*null).second, nullptr);
}

TYPED_TEST(OddCases, End_StaysTheEndAndStepsBackToWhateverIsLast) {
  const auto end = this->map_.end();
  EXPECT_EQ((*end).second, nullptr);
  if (!this->kKnows) return;
  auto it = end;
  EXPECT_TRUE(--it == end);  // nothing there
  for (const int label : {3, 5, 4}) {
    this->add(label);
    it = end;
    EXPECT_EQ(*(*--it).second, label == 4 ? 5 : label);
    EXPECT_TRUE(++it == this->map_.end());
    EXPECT_TRUE(++it == end);
  }
  it = this->map_.begin();
  EXPECT_TRUE(--it == this->map_.begin());
  this->map_.clear();
  EXPECT_TRUE(this->map_.end() == end);
}

TYPED_TEST(OddCases, PositionsAtNoRecordOfTheirs_EraseNothingAndHaveNoRank) {
  TypeParam& map = this->map_;
  TypeParam other(1, 1);
  const double value = 300;
  for (int label = 1; label <= 200; ++label) other.emplace(&label, &(*this->add(label)).second[0]);
  auto stale = map.withIndex(99);
  map.erase(stale);
  auto foreign = other.begin();
  for (const auto& it : {this->null_, map.end(), stale, foreign}) {
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

TYPED_TEST(OddCases, Positions_CompareThroughTheInterface) {
  const auto begin = this->add(1);
  const auto end = this->map_.end();
  const typename TestFixture::OtherIt other;
  const IDMapIterator& interface = begin;
  EXPECT_TRUE(interface == static_cast<const IDMapIterator&>(begin));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(end));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(other));
  // The same place means nothing in another dimension or width.
  if constexpr (std::is_same_v<TypeParam, DMap>) {
    EXPECT_FALSE(begin == DMapIterator(2, 1, begin.position()));
    EXPECT_FALSE(begin == DMapIterator(1, 5, begin.position()));
  } else if constexpr (std::is_same_v<TypeParam, DMapUTree>) {
    EXPECT_FALSE(begin == TreeIterator(begin.position(), 5, this->map_.getTree()));
  } else {
    EXPECT_FALSE(begin == DMapVector(2, 1).begin());
    EXPECT_FALSE(begin == DMapVector(1, 5).begin());
  }
}

TYPED_TEST(OddCases, Scalar_IsOneRecordThatEveryInsertionOverwrites) {
  for (const int width : {0, 1, 2, 5}) {
    TypeParam map(0, width);
    map.reserve(5);
    for (int round = 0; round < 3; ++round) {
      EXPECT_TRUE(map.empty());
      EXPECT_TRUE(map.begin() == map.end() && map.find(nullptr) == map.end());
      EXPECT_TRUE(map.lower_bound(nullptr) == map.end());
      auto hint = map.end();
      for (int call = 0; call < 4; ++call) {
        const double values[] = {call + 1.0, 2, 3, 4, call + 5.0};
        const auto it = call == 0   ? map.emplace(nullptr, values)
                        : call == 1 ? map.emplace_end(nullptr, values)
                        : call == 2 ? map.emplace_hint(nullptr, values, hint)
                                    : map.insert_or_assign(hint, nullptr, values);
        EXPECT_EQ(map.size(), 1U);
        EXPECT_TRUE(it == map.begin() && it == map.find(nullptr));
        EXPECT_TRUE(std::equal(values, values + (width < 2 ? 1 : 5), (*it).second));
      }
      if (round == 0) map.erase(map.begin());
      if (round == 1) map.clear();
    }
  }
}

TYPED_TEST(OddCases, Scalar_HasBoundsAndRanksOfItsOwn) {
  for (const int width : {1, 5}) {
    TypeParam map(0, width);
    const double values[] = {1, 2, 3, 4, 5};
    auto it = map.emplace(nullptr, values);
    const VirtualPair record = *it;
    if (!this->kKnows) {  // values without a key or a rank, at any position
      EXPECT_TRUE(map.lower_bound(nullptr) == it);
      EXPECT_EQ(record.first, nullptr);
      EXPECT_EQ((*map.end()).second, record.second);
      EXPECT_EQ(map.index(it), -1);
      continue;
    }
    // The address of a double, and one on is the end. Callers rely on find.
    EXPECT_TRUE(map.lower_bound(nullptr).isNullPtr());
    EXPECT_EQ(static_cast<const void*>(record.first), record.second);
    EXPECT_EQ(map.index(it), 0);
    EXPECT_TRUE(++it == map.end());
    EXPECT_EQ((*it).second, record.second + 1);
    EXPECT_EQ(map.index(it), this->kIsTree ? 1 : -1);
    EXPECT_EQ((*map.withIndex(-3)).second, record.second - (this->kIsTree ? 3 : 0));
    EXPECT_EQ((*map.withIndex(2)).second, record.second + (this->kIsTree ? 2 : 1));
    EXPECT_TRUE(--it == map.begin());
  }
}

}  // namespace
}  // namespace zdb::dmap
