// What is particular to DMap; the behaviour of all containers is in containers_test.cpp.

#include "dmap/dmap.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace zdb::dmap {
namespace {

DMapIterator add(DMap& map, std::vector<int> key, double value) {
  const double values[5] = {value, value + 0.1, value + 0.2, value + 0.3, value + 0.4};
  return map.emplace(key.data(), values);
}

DMapIterator at(DMap& map, std::vector<int> key) {
  return map.find(key.data());
}

double valueAt(const DMapIterator& it) {
  return *(*it).second;
}

TEST(DMap, KeepsTheCommonFieldsAsGiven) {
  const DMap map(3, 2);
  EXPECT_EQ(map.getStorageType(), StorageTypes::Map);
  EXPECT_EQ(map.getDim(), 3);
  EXPECT_EQ(map.getValueWidth(), 2);
}

TEST(DMap, DimOutOfRange_Throws) {
  for (const int dim : {-1, 21, 1000}) EXPECT_THROW(DMap(dim, 1), std::invalid_argument) << dim;
}

TEST(DMap, ExistingKey_IsKeptByEmplaceAndReplacedByAssign) {
  for (const int width : {1, 5}) {
    DMap map(3, width);
    const int key[] = {1, 2, 3};
    const double first[] = {1, 2, 3, 4, 5};
    const double second[] = {-1, -2, -3, -4, -5};
    map.emplace(key, first);
    DMapIterator hint = map.emplace(key, second);
    EXPECT_EQ(valueAt(hint), 1);
    const DMapIterator assigned = map.insert_or_assign(hint, key, second);
    EXPECT_TRUE(assigned == hint);
    EXPECT_EQ(map.size(), 1U);
    for (int i = 0; i < doublesPerRecord(width); ++i) EXPECT_EQ((*assigned).second[i], second[i]);
  }
}

TEST(DMap, ZeroIsALabelLikeAnyOther) {
  DMap map(2, 1);
  add(map, {1, 2}, 12);
  EXPECT_TRUE(at(map, {0, 2}) == map.end());
  add(map, {0, 2}, 2);
  EXPECT_EQ(valueAt(at(map, {0, 2})), 2);
  EXPECT_TRUE(at(map, {1, 0}) == map.end());
}

TEST(DMap, ValuesWrittenThroughAPairAreStored) {
  DMap map(1, 5);
  (*add(map, {4}, 1)).second[4] = 99;
  EXPECT_EQ((*at(map, {4})).second[4], 99);
}

TEST(DMap, ReserveChangesNothing) {
  DMap map(1, 1);
  map.reserve(1000);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.verify(), "");
}

TEST(DMap, Cleared_IsAsGoodAsNew) {
  DMap map(2, 1);
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 500; ++i) add(map, {i % 50, i}, i);
    EXPECT_EQ(map.size(), 500U);
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(map.begin() == map.end());
    EXPECT_EQ(map.verify(), "");
  }
}

TEST(DMapIterator, EndIsAlwaysTheEndAndStepsBackToWhateverIsLast) {
  DMap map(1, 1);
  const DMapIterator end = map.end();
  DMapIterator it = end;
  EXPECT_TRUE(--it == end);  // nothing there
  for (const int key : {3, 5, 4}) {
    add(map, {key}, key);
    it = end;
    EXPECT_EQ(valueAt(--it), key == 4 ? 5 : key);
    EXPECT_TRUE(++it == map.end());
    EXPECT_TRUE(++it == end);
  }
  map.clear();
  EXPECT_TRUE(map.end() == end);
}

TEST(DMapIterator, StepInLeaf_MovesToTheNextRecordOrNotAtAll) {
  for (const int stride : {1, 7}) {  // records that lie in order, and anywhere
    DMap map(1, 1);
    for (int i = 0; i < 500; ++i) add(map, {i * stride % 500}, i * stride % 500);
    DMapIterator it = map.begin();
    for (double expected = 0; expected < 500; ++expected) {
      ASSERT_EQ(valueAt(it), expected);
      DMapIterator next = it;
      ASSERT_TRUE(next == it);
      const bool hasMoved = it.stepInLeaf();
      if (!hasMoved) {
        ASSERT_TRUE(next == it);
        ++it;
      }
      ASSERT_TRUE(++next == it);
    }
    EXPECT_FALSE(it.stepInLeaf());
    EXPECT_TRUE(it == map.end());
  }
}

TEST(DMapIterator, BeforeTheFirstRecord_StaysThere) {
  DMap map(1, 1);
  add(map, {1}, 1);
  DMapIterator it = map.begin();
  EXPECT_TRUE(--it == map.begin());
}

TEST(DMapIterator, ErasedRecord_MovesToTheEnd) {
  DMap map(1, 1);
  for (int i = 0; i < 200; ++i) add(map, {i}, i);
  DMapIterator forward = at(map, {100});
  DMapIterator back = forward;
  const DMapIterator stale = forward;
  map.erase(stale);
  map.erase(stale);  // has no effect
  EXPECT_EQ(map.size(), 199U);
  EXPECT_EQ(map.index(stale), -1);
  EXPECT_TRUE(++forward == map.end());
  EXPECT_TRUE(--back == map.end());
  EXPECT_EQ(map.verify(), "");
}

TEST(DMapIterator, OfAnotherContainer_IsNoHintAndErasesNothing) {
  DMap map(1, 1);
  DMap other(1, 1);
  add(map, {1}, 1);
  add(other, {1}, 10);
  DMapIterator foreign = other.begin();
  const int key[] = {2};
  const double value = 2;
  EXPECT_EQ(valueAt(map.emplace_hint(key, &value, foreign)), 2);
  map.erase(foreign);
  EXPECT_EQ(map.size(), 2U);
  EXPECT_EQ(other.size(), 1U);
  EXPECT_EQ(map.index(foreign), -1);
  EXPECT_FALSE(map.begin() == foreign);
  EXPECT_FALSE(map.end() == other.end());
}

TEST(DMapIterator, DefaultConstructed_PointsNowhere) {
  DMapIterator null;
  EXPECT_TRUE(null.isNullPtr());
  EXPECT_TRUE(null == DMapIterator());
  EXPECT_EQ((*null).second, nullptr);
  EXPECT_TRUE((++null).isNullPtr());
  DMap map(1, 1);
  EXPECT_FALSE(map.end().isNullPtr());
  EXPECT_TRUE(null != map.end());
  EXPECT_EQ((*map.end()).second, nullptr);
}

/// Another implementation of the interface.
class OtherIterator final : public IDMapIterator {
 public:
  OtherIterator& operator++() override { return *this; }
  OtherIterator& operator--() override { return *this; }
  VirtualPair operator*() const override { return {nullptr, nullptr, ElemOwnership::None}; }
  bool operator==(const IDMapIterator& /*other*/) const override { return true; }
  bool operator!=(const IDMapIterator& /*other*/) const override { return false; }
  bool isNullPtr() const override { return true; }
};

TEST(DMapIterator, ComparesThroughTheInterface) {
  DMap map(1, 1);
  add(map, {1}, 1);
  const DMapIterator begin = map.begin();
  const DMapIterator end = map.end();
  const IDMapIterator& interface = begin;
  EXPECT_TRUE(interface == static_cast<const IDMapIterator&>(begin));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(end));
  const OtherIterator other;
  EXPECT_FALSE(interface == static_cast<const IDMapIterator&>(other));
  // The same address means nothing in another dimension or width.
  EXPECT_FALSE(begin == DMapIterator(2, 1, begin.position()));
  EXPECT_FALSE(begin == DMapIterator(1, 5, begin.position()));
}

TEST(DMapIterator, ErasingWhileWalking_VisitsEveryOther) {
  DMap map(2, 1);
  for (int i = 0; i < 3000; ++i) add(map, {i / 60, i}, i);
  double expected = 0;
  for (DMapIterator it = map.begin(); it != map.end(); ++expected) {
    ASSERT_EQ(valueAt(it), expected);
    const DMapIterator here = it;
    ++it;
    map.erase(here);
  }
  EXPECT_EQ(expected, 3000);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.verify(), "");
}

class ScalarDMap : public testing::TestWithParam<int> {};

TEST_P(ScalarDMap, HoldsOneRecordThatEveryInsertionOverwrites) {
  DMap map(0, GetParam());
  const int doubles = doublesPerRecord(GetParam());
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(map.begin() == map.end());
  EXPECT_TRUE(map.find(nullptr) == map.end());
  DMapIterator hint = map.end();
  for (int call = 0; call < 4; ++call) {
    const double values[] = {call + 1.0, 2, 3, 4, call + 5.0};
    const DMapIterator it = call == 0   ? map.emplace(nullptr, values)
                            : call == 1 ? map.emplace_end(nullptr, values)
                            : call == 2 ? map.emplace_hint(nullptr, values, hint)
                                        : map.insert_or_assign(hint, nullptr, values);
    EXPECT_EQ(map.size(), 1U);
    EXPECT_TRUE(it == map.begin());
    for (int i = 0; i < doubles; ++i) EXPECT_EQ((*it).second[i], values[i]) << i;
  }
  map.erase(map.begin());
  EXPECT_EQ(map.size(), 0U);
  EXPECT_TRUE(map.begin() == map.end());
}

TEST_P(ScalarDMap, IsOneStepLong) {
  DMap map(0, GetParam());
  const double values[] = {1, 2, 3, 4, 5};
  DMapIterator it = map.emplace(nullptr, values);
  const double* first = (*it).second;
  EXPECT_TRUE(it != map.end());
  EXPECT_TRUE(++it == map.end());
  EXPECT_EQ((*it).second, first + 1);
  EXPECT_TRUE(--it == map.begin());
  EXPECT_EQ(static_cast<const void*>((*it).first), (*it).second);
}

// lower_bound has no record to give where find has one; callers rely on find.
TEST_P(ScalarDMap, LowerBoundIsNullWhenTheRecordIsThere) {
  DMap map(0, GetParam());
  EXPECT_TRUE(map.lower_bound(nullptr) == map.end());
  const double values[] = {1, 2, 3, 4, 5};
  map.emplace(nullptr, values);
  EXPECT_TRUE(map.lower_bound(nullptr).isNullPtr());
  EXPECT_TRUE(map.find(nullptr) == map.begin());
  map.clear();
  EXPECT_TRUE(map.lower_bound(nullptr) == map.end());
}

TEST_P(ScalarDMap, RanksTheOneRecord) {
  DMap map(0, GetParam());
  EXPECT_EQ(map.index(map.begin()), -1);
  const double values[] = {1, 2, 3, 4, 5};
  map.emplace(nullptr, values);
  EXPECT_EQ(map.index(map.begin()), 0);
  EXPECT_EQ(map.index(map.end()), -1);
  EXPECT_EQ(map.index(DMapIterator()), -1);
  EXPECT_TRUE(map.withIndex(0) == map.begin());
  EXPECT_TRUE(map.withIndex(-5) == map.begin());
  EXPECT_TRUE(map.withIndex(1) == map.end());
}

INSTANTIATE_TEST_SUITE_P(Widths, ScalarDMap, testing::Values(0, 1, 2, 5));

}  // namespace
}  // namespace zdb::dmap
