// What DMap costs, counted instead of timed, and what all containers do when memory runs out.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "support/allocations.h"

namespace zdb::dmap {
namespace {

struct Key {
  int labels[3];
};

/// `count` different keys of 3 labels, in ascending order, with some room between them.
std::vector<Key> keysInOrder(int count) {
  std::vector<Key> keys;
  keys.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    keys.push_back({{i / 10000 + 1, i / 100 % 100 + 1, 3 * (i % 100) + 1}});
  return keys;
}

std::vector<Key> keysShuffled(int count) {
  std::vector<Key> keys = keysInOrder(count);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
  return keys;
}

template <class Map>
void load(Map& map, const std::vector<Key>& keys) {
  for (const Key& key : keys) {
    const double values[5] = {1.0 * key.labels[2]};
    map.emplace(key.labels, values);
  }
}

TEST(DMapMemory, AMillionRecords_TakeAtMostFortyBytesEach) {
  constexpr int kRecords = 1000000;
  for (const bool isSorted : {true, false}) {
    const std::vector<Key> keys = isSorted ? keysInOrder(kRecords) : keysShuffled(kRecords);
    const test::Allocations allocations;
    {
      DMap map(3, 1);
      load(map, keys);
      const auto bytes = static_cast<double>(allocations.liveBytes());
      EXPECT_LE(bytes / kRecords, 40) << (isSorted ? "sorted" : "shuffled");
      EXPECT_NEAR(static_cast<double>(map.bytesUsed()), bytes, bytes / 50);
      EXPECT_LT(allocations.count(), 300U);
    }
    EXPECT_EQ(allocations.liveBytes(), 0);
  }
}

TEST(DMapMemory, SmallMapsAreSmall) {
  const std::vector<Key> keys = keysInOrder(100);
  const test::Allocations allocations;
  DMap map(3, 1);
  EXPECT_EQ(allocations.count(), 1U);
  load(map, {keys.begin(), keys.begin() + 1});
  EXPECT_LE(allocations.liveBytes(), 1024);
  load(map, keys);
  // As std::map with its nodes, and what aligned blocks may waste.
  EXPECT_LE(allocations.liveBytes(), 100 * 72 + 500);
}

TEST(DMapMemory, ReadingAllocatesNothing) {
  const std::vector<Key> keys = keysShuffled(5000);
  DMap map(3, 5);
  load(map, keys);
  const test::Allocations allocations;
  double sum = 0;
  for (const Key& key : keys) sum += *(*map.find(key.labels)).second;
  const DMapIterator end = map.end();
  for (DMapIterator it = map.begin(); it != end; ++it) sum -= *(*it).second;
  for (const Key& key : keys) map.lower_bound(key.labels);
  EXPECT_EQ(sum, 0);
  EXPECT_EQ(allocations.count(), 0U);
}

TEST(DMapMemory, ScalarsAllocateNothing) {
  const test::Allocations allocations;
  DMap map(0, 5);
  const double values[5] = {};
  map.emplace(nullptr, values);
  EXPECT_EQ(allocations.count(), 0U);
}

TEST(DMapMemory, ErasedRecordsAreReused) {
  const std::vector<Key> keys = keysShuffled(5000);
  DMap map(3, 1);
  load(map, keys);
  const test::Allocations allocations;
  std::mt19937 random(3);
  for (int i = 0; i < 100000; ++i) {
    const Key& key = keys[random() % keys.size()];
    map.erase(map.find(key.labels));
    load(map, {key});
  }
  EXPECT_LE(allocations.liveBytes(), 64 * 1024);  // leaves that random order leaves half full
  EXPECT_EQ(map.verify(), "");
}

/// Checks that the map holds the first `count` keys and takes the others.
template <class Map>
void expectIntact(Map& map, const std::vector<Key>& keys, std::size_t count) {
  ASSERT_EQ(map.verify(), "");
  ASSERT_EQ(map.size(), count);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto it = map.find(keys[i].labels);
    ASSERT_EQ(it != map.end(), i < count) << i;
    if (i < count) {
      ASSERT_EQ(*(*it).second, keys[i].labels[2]);
    }
  }
  load(map, {keys.begin() + static_cast<std::ptrdiff_t>(count), keys.end()});
  ASSERT_EQ(map.verify(), "");
  ASSERT_EQ(map.size(), keys.size());
}

template <class Map>
class ContainerMemory : public testing::Test {};
using AllContainers = testing::Types<DMap, DMapVector, DMapUTree>;
TYPED_TEST_SUITE(ContainerMemory, AllContainers);

// Fails the first allocation, then the second and so on, until loading succeeds.
TYPED_TEST(ContainerMemory, OutOfMemory_LeavesTheRecordsAsTheyWere) {
  for (const std::vector<Key>& keys : {keysInOrder(4000), keysShuffled(4000)}) {
    bool hasFailed = true;
    for (std::uint64_t failing = 1; hasFailed; ++failing) {
      std::unique_ptr<TypeParam> map;
      std::size_t loaded = 0;
      hasFailed = false;
      try {
        const test::Allocations allocations(failing);
        map = std::make_unique<TypeParam>(3, 1);
        for (; loaded < keys.size(); ++loaded) {
          const double value = keys[loaded].labels[2];
          map->emplace(keys[loaded].labels, &value);
        }
      } catch (const std::bad_alloc&) {
        hasFailed = true;
      }
      ASSERT_EQ(hasFailed, loaded < keys.size());
      if (map != nullptr) {
        ASSERT_NO_FATAL_FAILURE(expectIntact(*map, keys, loaded)) << failing;
      }
    }
  }
}

}  // namespace
}  // namespace zdb::dmap
