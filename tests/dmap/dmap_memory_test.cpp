// What records cost, counted instead of timed.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <type_traits>
#include <vector>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "dmap/structure.h"
#include "support/allocations.h"

namespace zdb::dmap {
namespace {

using test::Allocations;

struct Key {
  int labels[3];
};
using Keys = std::vector<Key>;
enum class Order { Up, Down, Mixed };

/// `count` different keys of 3 labels.
Keys keysIn(Order order, int count) {
  Keys keys;
  for (int i = 0; i < count; ++i) keys.push_back({{i / 10000 + 1, i / 100 % 100 + 1, i % 100 + 1}});
  if (order == Order::Down) std::reverse(keys.begin(), keys.end());
  if (order == Order::Mixed) std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
  return keys;
}

template <class Map>
void load(Map& map, const Keys& keys) {
  const double values[5] = {1, 2, 3, 4, 5};
  for (const Key& key : keys) map.emplace(key.labels, values);
}

template <class Map>
void erase(Map& map, const Keys& keys) {
  for (const Key& key : keys) map.erase(map.find(key.labels));
}

template <class Map>
constexpr bool kIsTree = std::is_same_v<Map, DMapUTree>;

template <class Map>
class ContainerMemory : public testing::Test {};
using AllContainers = testing::Types<DMap, DMapVector, DMapUTree>;
TYPED_TEST_SUITE(ContainerMemory, AllContainers);

TYPED_TEST(ContainerMemory, Records_TakeFewBytesAndAllocationsInEitherOrder) {
  constexpr int kRecords = 20000;
  double bytes[3];
  for (const Order order : {Order::Up, Order::Down, Order::Mixed}) {
    const Keys keys = keysIn(order, kRecords);
    const Allocations allocations;
    {
      TypeParam map(3, 1);
      load(map, keys);
      bytes[static_cast<int>(order)] = static_cast<double>(allocations.liveBytes()) / kRecords;
      EXPECT_TRUE(order == Order::Mixed || allocations.count() < 120) << allocations.count();
    }
    EXPECT_EQ(allocations.liveBytes(), 0);
  }
  const auto [up, down, mixed] = bytes;
  EXPECT_LE(up, 34);
  EXPECT_LE(down, up * 1.03);
  EXPECT_LE(mixed, up * (kIsTree<TypeParam> ? 2 : 1.2));
}

TYPED_TEST(ContainerMemory, ErasedRecords_AreReused) {
  if (kIsTree<TypeParam>) return;  // keeps them, by contract
  TypeParam map(3, 1);
  const Keys keys = keysIn(Order::Mixed, 3000);
  const Allocations allocations;
  for (int round = 0; round < 6; ++round) {
    load(map, keys);
    const auto bytes = allocations.liveBytes();
    EXPECT_LE(bytes, 3000 * 46) << round;
    erase(map, round % 2 == 0 ? keys : keysIn(Order::Up, 3000));
  }
}

TEST(DMapMemory, AThinnedMap_HasFewNodes) {
  DMap map(3, 1);
  Keys keys = keysIn(Order::Mixed, 20000);
  load(map, keys);
  keys.resize(19000);
  erase(map, keys);
  const test::Structure shape(*map.begin().position().tree());
  EXPECT_LE(shape.leaves, 1000U / 10);
  EXPECT_LE(shape.inners, shape.leaves / 6);
}

TEST(DMapMemory, SmallMapsAndReading_AllocateLittle) {
  const Keys keys = keysIn(Order::Up, 100);
  const Allocations allocations;
  DMap map(3, 1);
  EXPECT_EQ(allocations.count(), 1U);
  load(map, {keys[0]});
  EXPECT_LE(allocations.liveBytes(), 1024);
  load(map, keys);
  EXPECT_LE(allocations.liveBytes(), 100 * 72 + 500);  // as std::map with its nodes
  const std::uint64_t before = allocations.count();
  for (const Key& key : keys) EXPECT_TRUE(map.find(key.labels) == map.lower_bound(key.labels));
  for (const VirtualPair& record : map) EXPECT_EQ(*record.second, 1);
  EXPECT_EQ(allocations.count(), before);
}

TEST(DMapVectorMemory, Reserved_TakesTheArraysAndNoMore) {
  constexpr int kRecords = 20000;
  const Keys keys = keysIn(Order::Up, kRecords + 1);
  const double value = 1;
  const Allocations allocations;
  DMapVector records(3, 1);
  records.reserve(-1);
  records.reserve(kRecords);
  const std::uint64_t before = allocations.count();
  for (int i = 0; i < kRecords; ++i) records.emplace_end(keys[i].labels, &value);
  EXPECT_EQ(allocations.count(), before);
  EXPECT_TRUE(records.find(keys.back().labels) == records.end());  // which prepares searches
  EXPECT_LE(static_cast<double>(allocations.liveBytes()) / kRecords, 21);
  records.emplace_end(keys.back().labels, &value);
  EXPECT_GT(allocations.count(), before);
}

TEST(DMapUTreeMemory, Reserved_TakesOneBlockOfNodesAndOneOfValues) {
  const double values[5] = {1, 2, 3, 4, 5};
  for (const int reserved : {0, 100}) {
    DMapUTree records(1, 5);
    records.reserve(-1);
    if (reserved > 0) records.reserve(reserved);
    const Allocations allocations;
    for (int label = 1; label <= 100; ++label) records.emplace_end(&label, values);
    EXPECT_EQ(allocations.count(), reserved > 0 ? 2U : 6U);
    if (reserved == 0) {
      EXPECT_LE(allocations.largest(), 1024U + 2 * sizeof(void*));
    }
  }
}

}  // namespace
}  // namespace zdb::dmap
