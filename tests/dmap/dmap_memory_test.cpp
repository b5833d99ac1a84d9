// What records cost, counted instead of timed.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <type_traits>
#include <vector>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "support/allocations.h"

namespace zdb::dmap {
namespace {

using test::Allocations;
using Keys = std::vector<std::array<int, 3>>;

constexpr double kValues[5] = {1, 2, 3, 4, 5};

/// Different keys, in ascending order.
Keys keysInOrder(int count) {
  Keys keys;
  for (int i = 0; i < count; ++i) keys.push_back({i / 10000 + 1, i / 100 % 100 + 1, i % 100 + 1});
  return keys;
}

Keys shuffled(Keys keys) {
  std::ranges::shuffle(keys, std::mt19937(7));
  return keys;
}

template <class Map>
void load(Map& map, const Keys& keys) {
  for (const auto& key : keys) map.emplace(key.data(), kValues);
}

template <class Map>
class ContainerMemory : public testing::Test {};
using AllContainers = testing::Types<DMap, DMapVector, DMapUTree>;
TYPED_TEST_SUITE(ContainerMemory, AllContainers);

TYPED_TEST(ContainerMemory, Records_TakeFewBytesAndAllocationsInEitherOrder) {
  constexpr bool kIsTree = std::is_same_v<TypeParam, DMapUTree>;
  const Keys up = keysInOrder(20000);
  const struct {
    Keys keys;
    double bytes;
    std::uint64_t allocations;
  } cases[] = {{up, 34, 119},
               {{up.rbegin(), up.rend()}, 35, 119},
               {shuffled(up), kIsTree ? 68 : 40.8, UINT64_MAX}};
  for (const auto& [keys, bytes, most] : cases) {
    const Allocations allocations;
    {
      TypeParam map(3, 1);
      load(map, keys);
      EXPECT_LE(static_cast<double>(allocations.liveBytes()), bytes * 20000);
      EXPECT_LE(allocations.count(), most);
      for (const auto& key : shuffled(keys)) map.erase(map.find(key.data()));
      load(map, keys);
      // What is erased is used again, but not by the tree.
      EXPECT_LE(static_cast<double>(allocations.liveBytes()), 46 * 20000 * (kIsTree ? 3 : 1));
    }
    EXPECT_EQ(allocations.liveBytes(), 0);
  }
}

TEST(DMapMemory, SmallMapsAndReading_AllocateLittle) {
  const Keys keys = keysInOrder(100);
  const Allocations allocations;
  DMap map(3, 1);
  EXPECT_EQ(allocations.count(), 1U);
  load(map, {keys[0]});
  EXPECT_LE(allocations.liveBytes(), 1024);
  load(map, keys);
  EXPECT_LE(allocations.liveBytes(), 100 * 72 + 500);  // as std::map with its nodes
  const std::uint64_t before = allocations.count();
  for (const auto& key : keys) EXPECT_TRUE(map.find(key.data()) == map.lower_bound(key.data()));
  for (const VirtualPair& record : map) EXPECT_EQ(*record.second, 1);
  EXPECT_EQ(allocations.count(), before);
}

TEST(DMapVectorMemory, Reserved_TakesTheArraysAndNoMore) {
  const Keys keys = keysInOrder(20000);
  const Allocations allocations;
  DMapVector records(3, 1);
  records.reserve(-1);
  records.reserve(20000);
  const std::uint64_t before = allocations.count();
  for (const auto& key : keys) records.emplace_end(key.data(), kValues);
  EXPECT_EQ(allocations.count(), before);
  EXPECT_FALSE(records.find(keys.back().data()) == records.end());  // which prepares searches
  EXPECT_LE(allocations.liveBytes(), 21 * 20000);
}

TEST(DMapUTreeMemory, Reserved_TakesOneBlockOfNodesAndOneOfValues) {
  DMapUTree records(1, 5);
  records.reserve(100);
  const Allocations allocations;
  for (int label = 1; label <= 100; ++label) records.emplace_end(&label, kValues);
  EXPECT_EQ(allocations.count(), 2U);
}

}  // namespace
}  // namespace zdb::dmap
