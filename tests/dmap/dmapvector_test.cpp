// What is particular to DMapVector; the behaviour of all containers is in containers_test.cpp.

#include "dmap/dmapvector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "dmap/container_model.h"
#include "dmap/dmap.h"
#include "support/allocations.h"

namespace zdb::dmap {
namespace {

using test::Key;

VectorIterator append(DMapVector& records, const Key& key, double value) {
  const double values[5] = {value, value + 0.1, value + 0.2, value + 0.3, value + 0.4};
  return records.emplace_end(key.data(), values);
}

VectorIterator emplace(DMapVector& records, const Key& key, double value) {
  const double values[5] = {value};
  return records.emplace(key.data(), values);
}

/// Fills a container of dimension 1 with these labels, each its own value.
void fill(DMapVector& records, const std::vector<int>& labels) {
  for (const int label : labels) append(records, {label}, label);
}

/// All records of a container with one value each, as "1,2:3" joined by blanks.
std::string textOf(DMapVector& records) {
  std::string text;
  for (VectorIterator it = records.begin(); it != records.end(); ++it) {
    const VirtualPair record = *it;
    if (!text.empty()) text += ' ';
    for (int i = 0; i < records.getDim(); ++i) {
      text += (i > 0 ? "," : "") + std::to_string(record.first[i]);
    }
    text += ':' + std::to_string(static_cast<int>(*record.second));
  }
  return text;
}

TEST(DMapVector, KeepsTheCommonFieldsAsGiven) {
  const DMapVector records(3, 2);
  EXPECT_EQ(records.getStorageType(), StorageTypes::Vector);
  EXPECT_EQ(records.getDim(), 3);
  EXPECT_EQ(records.getValueWidth(), 2);
  for (const int dim : {-1, 21, INT_MIN, INT_MAX}) {
    EXPECT_THROW(DMapVector(dim, 1), std::invalid_argument) << dim;
  }
}

TEST(DMapVector, Emplace_PutsKeysInOrderAndWarnsOfThoseThere) {
  const struct {
    int label;
    const char* records;
    bool warns;
  } steps[] = {
      {2, "2:1", false},
      {4, "2:1 4:2", false},
      {4, "2:1 4:2", true},
      {2, "2:1 4:2", true},
      {3, "2:1 3:5 4:2", false},
      {1, "1:6 2:1 3:5 4:2", false},
      {1, "1:6 2:1 3:5 4:2", true},
  };
  DMapVector records(1, 1);
  double value = 0;
  for (const auto& step : steps) {
    testing::internal::CaptureStdout();
    const VectorIterator it = emplace(records, {step.label}, ++value);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), step.warns ? test::kWarning : "");
    EXPECT_EQ(*(*it).first, step.label);
    EXPECT_EQ(textOf(records), step.records);
  }
}

// The contract of insert_or_assign is to overwrite the bound, whatever its key.
TEST(DMapVector, Assign_OverwritesTheBoundOrAppends) {
  const struct {
    std::vector<int> before;
    int label;
    const char* after;
  } cases[] = {
      {{}, 5, "5:99"},
      {{1, 3}, 2, "1:99 3:3"},
      {{1, 3}, 4, "1:1 3:3 4:99"},
      {{1, 3}, 3, "1:1 3:99"},
      {{2, 3}, 1, "2:99 3:3"},
      {{3}, 3, "3:99"},
      {{3}, 1, "3:99"},
      {{3}, 5, "3:99"},  // the only record is the bound of any key
      {{1, 2, 3, 4}, 5, "1:1 2:2 3:3 4:4 5:99"},
  };
  for (const auto& c : cases) {
    DMapVector records(1, 1);
    fill(records, c.before);
    VectorIterator hint;
    const double value = 99;
    const VectorIterator it = records.insert_or_assign(hint, &c.label, &value);
    EXPECT_EQ(textOf(records), c.after);
    EXPECT_EQ(*(*it).second, 99);
  }
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
      {1, 2, "2:2 2:99 4:4 6:6"},  // or behind the one that is there
  };
  for (const auto& c : cases) {
    DMapVector records(1, 1);
    fill(records, {2, 4, 6});
    VectorIterator hint = records.withIndex(c.hint);
    const double value = 99;
    const VectorIterator it = records.emplace_hint(&c.label, &value, hint);
    EXPECT_EQ(textOf(records), c.after) << c.hint << ' ' << c.label;
    EXPECT_EQ(*(*it).second, 99);
    EXPECT_EQ(records.verify(), "");
  }
}

TEST(DMapVector, ZeroMatchesAnyLabel) {
  DMapVector records(2, 1);
  for (int i = 1; i <= 4; ++i) append(records, {i, 10 * i}, i);
  EXPECT_EQ(records.index(records.find(Key{3, 0}.data())), 2);
  EXPECT_EQ(records.index(records.find(Key{0, 30}.data())), 2);
  EXPECT_TRUE(records.find(Key{3, 31}.data()) == records.end());
  EXPECT_EQ(records.linearSearchInVec(Key{0, 25}.data()).position(), 2);
  EXPECT_TRUE(records.linearSearchInVec(Key{4, 41}.data()).isNullPtr());
  testing::internal::CaptureStdout();
  emplace(records, {0, 40}, 9);  // which matches the last key
  emplace(records, {3, 0}, 9);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(test::kWarning) + test::kWarning);
  EXPECT_EQ(textOf(records), "1,10:1 2,20:2 3,30:3 4,40:4");
  append(records, {5, 0}, 5);  // and a stored one matches keys
  EXPECT_EQ(records.index(records.find(Key{5, 77}.data())), 4);
}

/// The searches step by step, as callers can rely on them, over the same keys as a container.
class PlainSearch {
 public:
  explicit PlainSearch(int dim) : dim_(dim) {}

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
                                                key.data(), dim_);
  }

  int dim_;
};

// Labels of every sort, in order and not: what is found must not depend on which shortcut the
// container takes.
TEST(DMapVector, Searches_FindWhatThePlainStepsFind) {
  const struct {
    int smallest;
    int labels;
    int dim;
  } cases[] = {{1, 500, 1}, {1, 9, 3}, {0, 200, 1}, {0, 6, 3}, {-3, 7, 2}, {INT_MAX - 4, 10, 2}};
  std::mt19937 random(11);
  const auto below = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
  for (const auto& c : cases) {
    const auto anyKey = [&] {
      Key key(static_cast<std::size_t>(c.dim));
      for (int& label : key)
        label = static_cast<int>(unsigned(c.smallest) + unsigned(below(c.labels)));
      return key;
    };
    DMapVector records(c.dim, 1);
    PlainSearch plain(c.dim);
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
      } else if (kind == 1) {  // out of order
        records.emplace_end(key.data(), &value);
        plain.keys.push_back(key);
      } else if (kind < 20 && (at == count || *place != key)) {
        records.insertAt(records.withIndex(at), key.data(), &value);
        plain.keys.insert(place, key);
      } else if (kind == 39 && count > 200) {
        records.clear();
        plain.keys.clear();
      }
      for (const Key& probe : {key, anyKey()}) {
        ASSERT_EQ(records.lower_bound(probe.data()).position(), plain.lowerBound(probe)) << step;
        ASSERT_EQ(records.find(probe.data()).position(), plain.find(probe)) << step;
      }
      ASSERT_EQ(records.verify(), "") << step;
    }
  }
}

// Zeros and negative labels are labels like any others for the exact bound.
TEST(DMapVector, ExactLowerBound_ComparesExactly) {
  std::mt19937 random(3);
  DMapVector records(3, 1);
  std::map<Key, double> model;
  for (int step = 0; step < 1000; ++step) {
    Key key(3);
    for (int& label : key) label = static_cast<int>(random() % 8) - 2;
    const double value = step;
    const VectorIterator at = records.exactLowerBound(key.data());
    const auto bound = model.lower_bound(key);
    ASSERT_EQ(at.position(), std::distance(model.begin(), bound));
    if (bound != model.end() && bound->first == key) continue;
    ASSERT_EQ(*(*records.insertAt(at, key.data(), &value)).second, value);
    model.emplace_hint(bound, key, value);
  }
  auto it = records.begin();
  for (const auto& [key, value] : model) {
    ASSERT_EQ(Key((*it).first, (*it).first + 3), key);
    ASSERT_EQ(*(*it).second, value);
    ++it;
  }
  EXPECT_TRUE(it == records.end());
}

TEST(DMapVector, Reserve_MakesRoomForExactlySoMany) {
  DMapVector records(2, 5);
  records.reserve(-1);
  records.reserve(10);
  EXPECT_TRUE(records.empty());
  const Key eleventh{1, 11};
  const test::Allocations allocations;
  for (int i = 1; i <= 10; ++i) {
    const int key[] = {1, i};
    const double values[] = {1, 2, 3, 4, i + 0.5};
    records.emplace_end(key, values);
  }
  EXPECT_EQ(allocations.count(), 0U);
  append(records, eleventh, 11);
  EXPECT_GT(allocations.count(), 0U);
  EXPECT_EQ((*records.withIndex(9)).second[4], 10.5);
  EXPECT_EQ((*records.withIndex(10)).second[4], 11.4);
}

// An oddity of the contract that must at least be safe.
TEST(DMapVector, Reserve_ForgetsTheRecordsButNotTheirNumber) {
  for (const int reserved : {0, 2, 8}) {
    DMapVector records(1, 1);
    fill(records, {1, 2, 3, 4});
    records.find(Key{4}.data());
    records.reserve(reserved);
    EXPECT_EQ(records.verify(), "");
    EXPECT_EQ(textOf(records), "0:0 0:0 0:0 0:0");
    append(records, {5}, 5);
    records.erase(records.begin());
    EXPECT_EQ(textOf(records), "0:0 0:0 0:0 5:5");
    records.clear();
    EXPECT_TRUE(records.empty());
  }
}

TEST(DMapVector, Erase_TakesOneRecordAndNothingWhereThereIsNone) {
  DMapVector records(1, 5);
  fill(records, {1, 2, 3, 4});
  for (const int at : {-1, 4, INT_MIN, INT_MAX}) records.erase(records.withIndex(at));
  records.erase(VectorIterator());
  EXPECT_EQ(records.size(), 4U);
  records.erase(records.withIndex(1));
  records.erase(records.withIndex(2));
  EXPECT_EQ(textOf(records), "1:1 3:3");
  EXPECT_EQ((*records.withIndex(1)).second[4], 3.4);
  EXPECT_EQ((*records.end()).second, nullptr);  // what was reserved is given up
}

TEST(VectorIterator, ShowsZerosAsFarAsMemoryIsReservedAndNothingBeyond) {
  DMapVector records(2, 5);
  EXPECT_EQ((*records.begin()).first, nullptr);
  EXPECT_EQ((*records.begin()).second, nullptr);
  records.reserve(3);
  append(records, {7, 8}, 1);
  const VirtualPair reserved = *records.withIndex(2);
  EXPECT_EQ(Key(reserved.first, reserved.first + 2), (Key{0, 0}));
  EXPECT_EQ(std::vector<double>(reserved.second, reserved.second + 5), std::vector<double>(5));
  for (const int outside : {3, -1, INT_MAX, INT_MIN}) {
    const VirtualPair none = *records.withIndex(outside);
    EXPECT_EQ(none.first, nullptr) << outside;
    EXPECT_EQ(none.second, nullptr) << outside;
  }
  EXPECT_EQ(*(*records.begin()).second, 1);  // unharmed
}

TEST(VectorIterator, IsANumberThatMovesUnchecked) {
  DMapVector records(1, 1);
  DMapVector other(1, 1);
  fill(records, {1, 2});
  fill(other, {3, 4});
  EXPECT_TRUE(records.begin() == other.begin());  // whose they are is not compared
  EXPECT_TRUE(records.withIndex(2) == records.end());
  EXPECT_EQ(records.index(records.end()), -1);
  VectorIterator it = records.begin();
  --it;
  --it;
  EXPECT_EQ(it.position(), -2);
  EXPECT_EQ(records.index(it), -1);
  ++it;
  EXPECT_TRUE(++it == records.begin());
  VectorIterator last = records.withIndex(INT_MAX);
  EXPECT_EQ((++last).position(), INT_MIN);

  VectorIterator null;
  EXPECT_TRUE(null.isNullPtr());
  EXPECT_FALSE(records.end().isNullPtr());
  EXPECT_EQ((*null).second, nullptr);
  const IDMapIterator& interface = it;
  EXPECT_TRUE(interface == static_cast<const IDMapIterator&>(other.begin()));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(null));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(DMapIterator()));
}

TEST(ScalarDMapVector, IsValuesWithoutAKeyOrAnIndex) {
  for (const int width : {1, 5}) {
    DMapVector scalar(0, width);
    EXPECT_TRUE(scalar.begin() == scalar.end());
    EXPECT_EQ((*scalar.begin()).second, nullptr);
    scalar.reserve(5);
    EXPECT_TRUE(scalar.empty());
    append(scalar, {}, 1);
    append(scalar, {}, 2);
    EXPECT_EQ(scalar.size(), 1U);
    EXPECT_TRUE(scalar.lower_bound(nullptr) == scalar.begin());
    EXPECT_TRUE(scalar.exactLowerBound(nullptr) == scalar.begin());
    EXPECT_TRUE(scalar.find(nullptr) == scalar.begin());
    EXPECT_EQ(scalar.index(scalar.begin()), -1);
    EXPECT_EQ((*scalar.begin()).first, nullptr);
    EXPECT_EQ((*scalar.begin()).second[width - 1], width == 1 ? 2 : 2.4);
    EXPECT_EQ((*scalar.end()).second, (*scalar.begin()).second);  // at any position
    scalar.erase(scalar.begin());
    EXPECT_TRUE(scalar.empty());
    EXPECT_TRUE(scalar.find(nullptr) == scalar.end());
    append(scalar, {}, 3);
    scalar.clear();
    EXPECT_EQ(scalar.size(), 0U);
    EXPECT_EQ(scalar.verify(), "");
  }
}

TEST(DMapVectorMemory, Reserved_TakesLittleMoreThanKeysAndValues) {
  constexpr int kRecords = 1000000;
  const test::Allocations allocations;
  {
    DMapVector records(3, 1);
    records.reserve(kRecords);
    for (int i = 0; i < kRecords; ++i) {
      const int key[] = {1 + i / 10000, 1 + i / 100 % 100, 1 + i % 100};
      const double value = i;
      records.emplace_end(key, &value);
    }
    EXPECT_EQ(allocations.count(), 2U);
    const int key[] = {1, 1, 101};
    EXPECT_TRUE(records.find(key) == records.end());  // which prepares searches
    EXPECT_LE(static_cast<double>(allocations.liveBytes()), 20.5 * kRecords);
    EXPECT_NEAR(static_cast<double>(records.bytesUsed()),
                static_cast<double>(allocations.liveBytes()), 20000);
  }
  EXPECT_EQ(allocations.liveBytes(), 0);
}

}  // namespace
}  // namespace zdb::dmap
