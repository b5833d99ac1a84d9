// What is particular to DMapVector: it trusts its callers, and takes a 0 for any label.

#include "dmap/dmapvector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/structure.h"

namespace zdb::dmap {
namespace {

using Key = std::vector<int>;

/// Fills a container of dimension 1 with these labels, each its own value.
void fill(DMapVector& records, const std::vector<int>& labels) {
  for (const int label : labels) {
    const double values[5] = {1.0 * label};
    records.emplace_end(&label, values);
  }
}

/// All records of a container of dimension 1, as "1:2" joined by blanks.
template <class Map>
std::string textOf(Map& records) {
  std::string text;
  for (const VirtualPair& record : records) {
    text += (text.empty() ? "" : " ") + std::to_string(record.first[0]) + ':' +
            std::to_string(static_cast<int>(*record.second));
  }
  return text;
}

TEST(DMapVector, AppendsAndHints_AreTrusted) {
  const struct {
    int hint;  // a position
    int label;
    const char* after;
  } cases[] = {
      {3, 1, "2:2 4:4 6:6 1:99"},   // the end: no look at the key
      {-1, 1, "2:2 4:4 6:6 1:99"},  // nor where there is no record
      {1, 4, "2:2 4:99 4:4 6:6"},   // a second record before the hint
  };
  for (const auto& [position, label, after] : cases) {
    DMapVector records(1, 1);
    fill(records, {2, 4, 6});
    VectorIterator hint = records.withIndex(position);
    const double value = 99;
    EXPECT_EQ(*(*records.emplace_hint(&label, &value, hint)).second, 99);
    EXPECT_EQ(textOf(records), after) << position << ' ' << label;
  }
}

// A key twice is copied to no other container, and one with a label that searches take for any is
// not lost.
TEST(DMapVector, OddKeys_AreConvertedOneOfEach) {
  DMapVector source(1, 1);
  fill(source, {-7, -1, 0, 1, 1, 3});
  *(*source.withIndex(4)).second = 2;
  EXPECT_EQ(source.linearSearchInVec(Key{1}.data()).position(), 2);
  EXPECT_TRUE(DMapVector(1, 1).linearSearchInVec(Key{1}.data()).isNullPtr());
  DMap map(source);
  DMapUTree tree(source);
  EXPECT_EQ(textOf(map), "-7:-7 -1:-1 0:0 1:1 3:3");
  EXPECT_EQ(textOf(tree), "-7:-7 -1:-1 0:0 1:2 3:3");
  DMapVector back(map);
  EXPECT_EQ(textOf(back), textOf(map));
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

// Oddities of the contract that must at least be safe.
TEST(DMapVector, Reserve_ForgetsTheRecordsButNotTheirNumber) {
  for (const int reserved : {0, 2, 200}) {
    DMapVector records(1, 1);
    for (int label = 1; label <= 100; ++label) fill(records, {label});
    records.reserve(reserved);
    for (const VirtualPair& record : records)
      EXPECT_TRUE(*record.first == 0 && *record.second == 0);
    fill(records, {200});
    EXPECT_EQ(records.exactLowerBound(Key{50}.data()).position(), 100);
    EXPECT_TRUE(records.find(Key{7}.data()) != records.end());  // which any 0 matches
    records.erase(records.begin());
    EXPECT_EQ(records.size(), 100U);
    EXPECT_EQ(*(*--records.end()).second, 200);
  }
}

TEST(VectorIterator, OutsideTheRecords_ShowsAndErasesNothing) {
  DMapVector records(1, 5);
  fill(records, {7});
  for (const int outside : {3, -1, INT_MAX, INT_MIN}) {
    VectorIterator it = records.withIndex(outside);
    EXPECT_TRUE((*it).first == nullptr && (*it).second == nullptr) << outside;
    records.erase(it);
    EXPECT_TRUE(--++it == records.withIndex(outside));  // a number that moves unchecked
  }
  EXPECT_EQ(textOf(records), "7:7");
}

}  // namespace
}  // namespace zdb::dmap
