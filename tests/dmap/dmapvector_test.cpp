// What is particular to DMapVector: it trusts its callers, and takes a 0 for any label.

#include <gtest/gtest.h>

#include <climits>

#include "dmap/container_model.h"

namespace zdb::dmap {
namespace {

using test::Key;

// A key twice is copied to no other container, and one with a label that searches take for any is
// not lost.
TEST(DMapVector, OddKeys_AreConvertedOneOfEach) {
  DMapVector source(1, 1);
  for (const int label : {-7, -1, 0, 1, 1, 3}) {
    const auto value = static_cast<double>(source.size());
    source.emplace_end(&label, &value);
  }
  EXPECT_EQ(source.linearSearchInVec(Key{1}.data()).position(), 2);
  EXPECT_TRUE(DMapVector(1, 1).linearSearchInVec(Key{1}.data()).isNullPtr());
  const auto valuesOf = [](auto&& map) {
    std::vector<double> values;
    for (const VirtualPair& record : map) values.push_back(*record.second);
    return values;
  };
  EXPECT_EQ(valuesOf(DMap(source)), (std::vector<double>{0, 1, 2, 3, 5}));
  EXPECT_EQ(valuesOf(DMapUTree(source)), (std::vector<double>{0, 1, 2, 4, 5}));
}

/// The bound of a key step by step, as callers can rely on it.
int plainBound(const std::vector<Key>& keys, const Key& key) {
  const int count = static_cast<int>(keys.size());
  int low = 0;
  int high = count;
  int middle = count / 2;
  while (high - low > 1) {
    const int order = recordNumericKeysCompareWithWildcard(
        keys[unsigned(middle)].data(), key.data(), static_cast<int>(key.size()));
    if (order == 0) return middle;
    (order < 0 ? low : high) = middle;
    middle = low + (high - low) / 2;
  }
  return count > 1 && high == count ? count : middle;
}

// Labels of every sort, in order and not: what is found must not depend on which shortcut the
// container takes.
TEST(DMapVector, Searches_FindWhatThePlainStepsFind) {
  constexpr int kCases[][3] = {{1, 500, 1}, {1, 9, 3},  {0, 200, 1},
                               {0, 6, 3},   {-3, 7, 2}, {INT_MAX - 4, 10, 2}};
  std::mt19937 random(11);
  for (const auto& [smallest, labels, dim] : kCases) {
    DMapVector records(dim, 1);
    std::vector<Key> keys;
    bool isOrdered = true;
    const double value = 1;
    for (int step = 0; step < 3000; ++step) {
      Key key(static_cast<std::size_t>(dim));
      for (int& label : key) label = static_cast<int>(unsigned(smallest) + random() % labels);
      const auto place = std::ranges::lower_bound(keys, key);
      const auto what = random() % 40;
      if (what == 0 && !keys.empty()) {
        const auto erased = static_cast<int>(random() % keys.size());
        records.erase(records.withIndex(erased));
        keys.erase(keys.begin() + erased);
      } else if (what == 1 && step > 1000) {
        records.emplace_end(key.data(), &value);
        keys.push_back(key);
        isOrdered = false;
      } else if (what < 20 && (place == keys.end() || *place != key)) {
        const auto at = static_cast<int>(place - keys.begin());
        records.insertAt(records.withIndex(at), key.data(), &value);
        keys.insert(place, key);
      } else if (what == 39 && keys.size() > 200) {
        records.clear();
        keys.clear();
        isOrdered = true;
      }
      ASSERT_TRUE(test::Structure(records).isSound) << step;
      const int bound = plainBound(keys, key);
      ASSERT_EQ(records.lower_bound(key.data()).position(), bound) << step;
      const bool isThere =
          bound < std::ssize(keys) &&
          recordNumericKeysCompareWithWildcard(keys[unsigned(bound)].data(), key.data(), dim) == 0;
      ASSERT_EQ(records.find(key.data()).position(), isThere ? bound : std::ssize(keys)) << step;
      if (!isOrdered) continue;
      const auto exact = std::ranges::lower_bound(keys, key) - keys.begin();
      ASSERT_EQ(records.exactLowerBound(key.data()).position(), exact);
    }
  }
}

// An oddity of the contract that must at least be safe.
TEST(DMapVector, Reserve_ForgetsTheRecordsButNotTheirNumber) {
  for (const int reserved : {0, 2, 200}) {
    DMapVector records(1, 1);
    const auto append = [&](int label) {
      const double value = label;
      records.emplace_end(&label, &value);
    };
    for (int label = 1; label <= 100; ++label) append(label);
    records.reserve(reserved);
    for (const VirtualPair& record : records)
      EXPECT_TRUE(*record.first == 0 && *record.second == 0);
    append(200);
    EXPECT_EQ(records.exactLowerBound(Key{50}.data()).position(), 100);
    EXPECT_TRUE(records.find(Key{7}.data()) != records.end());  // which any 0 matches
    records.erase(records.begin());
    EXPECT_EQ(records.size(), 100U);
    EXPECT_EQ(*(*--records.end()).second, 200);
  }
}

TEST(VectorIterator, ShowsZerosAsFarAsMemoryIsReservedAndNothingBeyond) {
  DMapVector records(1, 5);
  records.reserve(3);
  const double values[] = {1, 2, 3, 4, 5};
  records.emplace_end(Key{7}.data(), values);
  const VirtualPair reserved = *records.withIndex(2);
  EXPECT_EQ(reserved.first[0], 0);
  EXPECT_EQ(std::count(reserved.second, reserved.second + 5, 0), 5);
  for (const int outside : {3, -1, INT_MAX, INT_MIN}) {
    VectorIterator it = records.withIndex(outside);
    EXPECT_TRUE((*it).first == nullptr && (*it).second == nullptr) << outside;
    records.erase(it);
    EXPECT_TRUE(--++it == records.withIndex(outside));  // a number that moves unchecked
  }
  records.emplace_end(Key{8}.data(), values);
  records.erase(records.begin());  // gives up what was reserved
  EXPECT_TRUE((*records.begin()).first[0] == 8 && records.size() == 1);
  EXPECT_EQ((*records.end()).second, nullptr);
}

}  // namespace
}  // namespace zdb::dmap
