// What is particular to DMapVector: it trusts its callers, and takes a 0 for any label.

#include "dmap/dmapvector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include "dmap/container_model.h"

namespace zdb::dmap {
namespace {

using test::Key;

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
  for (auto it = records.begin(); it != records.end(); ++it) {
    const VirtualPair record = *it;
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
      {3, 1, "2:2 4:4 6:6 1:99"},                               // the end: no look at the key
      {-1, 1, "2:2 4:4 6:6 1:99"},                              // nor where there is no record
      {99, 4, "2:2 4:4 6:6 4:99"}, {1, 3, "2:2 3:99 4:4 6:6"},  // right
      {0, 5, "2:2 4:4 5:99 6:6"},  // too far to the left or to the right: found out
      {2, 3, "2:2 3:99 4:4 6:6"},  {0, 7, "2:2 4:4 6:6 7:99"},
      {1, 4, "2:2 4:99 4:4 6:6"},  // a second record before the hint
      {1, 2, "2:2 2:99 4:4 6:6"},  // or after the one that is there
  };
  for (const auto& c : cases) {
    DMapVector records(1, 1);
    fill(records, {2, 4, 6});
    VectorIterator hint = records.withIndex(c.hint);
    const double value = 99;
    const VectorIterator it = records.emplace_hint(&c.label, &value, hint);
    EXPECT_EQ(textOf(records), c.after) << c.hint << ' ' << c.label;
    EXPECT_EQ(*(*it).second, 99);
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

/// The searches step by step, as callers can rely on them, over the same keys as a container.
class PlainSearch {
 public:
  int lowerBound(const Key& key) const {
    const int count = static_cast<int>(keys.size());
    if (count < 2) return 0;
    int low = 0;
    int high = count;
    int middle = count / 2;
    do {
      const int order = compare(middle, key);
      if (order == 0) return middle;
      (order < 0 ? low : high) = middle;
      middle = low + (high - low) / 2;
    } while (high - low > 1);
    return high == count ? count : middle;
  }
  int find(const Key& key) const {
    const int at = lowerBound(key);
    const int count = static_cast<int>(keys.size());
    return at < count && compare(at, key) == 0 ? at : count;
  }

  std::vector<Key> keys;

 private:
  int compare(int at, const Key& key) const {
    return recordNumericKeysCompareWithWildcard(keys[static_cast<std::size_t>(at)].data(),
                                                key.data(), static_cast<int>(key.size()));
  }
};

// Labels of every sort, in order and not: what is found must not depend on which shortcut the
// container takes.
TEST(DMapVector, Searches_FindWhatThePlainStepsFind) {
  constexpr int kCases[][3] = {{1, 500, 1}, {1, 9, 3},  {0, 200, 1},
                               {0, 6, 3},   {-3, 7, 2}, {INT_MAX - 4, 10, 2}};
  std::mt19937 random(11);
  const auto below = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
  for (const auto& [smallest, labels, dim] : kCases) {
    const auto anyKey = [&, first = unsigned(smallest), count = labels, length = dim] {
      Key key(static_cast<std::size_t>(length));
      for (int& label : key) label = static_cast<int>(first + unsigned(below(count)));
      return key;
    };
    DMapVector records(dim, 1);
    PlainSearch plain;
    bool isOrdered = true;
    const double value = 1;
    for (int step = 0; step < 3000; ++step) {
      const Key key = anyKey();
      const auto place = std::lower_bound(plain.keys.begin(), plain.keys.end(), key);
      const auto at = static_cast<int>(place - plain.keys.begin());
      const int count = static_cast<int>(plain.keys.size());
      const int kind = below(40);
      if (kind == 0 && count > 0) {
        const int erased = below(count);
        records.erase(records.withIndex(erased));
        plain.keys.erase(plain.keys.begin() + erased);
      } else if (kind == 1 && step > 1000) {
        records.emplace_end(key.data(), &value);
        plain.keys.push_back(key);
        isOrdered = false;
      } else if (kind < 20 && (at == count || *place != key)) {
        records.insertAt(records.withIndex(at), key.data(), &value);
        plain.keys.insert(place, key);
      } else if (kind == 39 && count > 200) {
        records.clear();
        plain.keys.clear();
        isOrdered = true;
      }
      ASSERT_TRUE(test::Structure(records).isSound) << step;
      for (const Key& probe : {key, anyKey()}) {
        ASSERT_EQ(records.lower_bound(probe.data()).position(), plain.lowerBound(probe)) << step;
        ASSERT_EQ(records.find(probe.data()).position(), plain.find(probe)) << step;
        if (!isOrdered) continue;
        const auto bound = std::lower_bound(plain.keys.begin(), plain.keys.end(), probe);
        ASSERT_EQ(records.exactLowerBound(probe.data()).position(), bound - plain.keys.begin());
      }
    }
  }
}

// An oddity of the contract that must at least be safe.
TEST(DMapVector, Reserve_ForgetsTheRecordsButNotTheirNumber) {
  for (const int reserved : {0, 2, 8}) {
    DMapVector records(1, 1);
    fill(records, {1, 2, 3, 4});
    records.find(Key{4}.data());
    records.reserve(reserved);
    EXPECT_EQ(textOf(records), "0:0 0:0 0:0 0:0");
    fill(records, {5});
    EXPECT_TRUE(records.find(Key{7}.data()) != records.end());  // which any 0 matches
    records.erase(records.begin());
    EXPECT_EQ(textOf(records), "0:0 0:0 0:0 5:5");
  }
}

TEST(VectorIterator, ShowsZerosAsFarAsMemoryIsReservedAndNothingBeyond) {
  DMapVector records(1, 5);
  records.reserve(3);
  fill(records, {7});
  const VirtualPair reserved = *records.withIndex(2);
  EXPECT_EQ(reserved.first[0], 0);
  EXPECT_EQ(std::count(reserved.second, reserved.second + 5, 0), 5);
  for (const int outside : {3, -1, INT_MAX, INT_MIN}) {
    EXPECT_EQ((*records.withIndex(outside)).first, nullptr) << outside;
    EXPECT_EQ((*records.withIndex(outside)).second, nullptr) << outside;
    records.erase(records.withIndex(outside));
  }
  VectorIterator it = records.begin();  // a number that moves unchecked
  EXPECT_EQ((--it).position(), -1);
  VectorIterator last = records.withIndex(INT_MAX);
  EXPECT_EQ((++last).position(), INT_MIN);
  fill(records, {8});
  records.erase(records.begin());  // gives up what was reserved
  EXPECT_EQ(textOf(records), "8:8");
  EXPECT_EQ((*records.end()).second, nullptr);
}

}  // namespace
}  // namespace zdb::dmap
