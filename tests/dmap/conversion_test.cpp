// Conversions between the containers, in all directions.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "dmap/container_model.h"
#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "support/allocations.h"

namespace zdb::dmap {
namespace {

using test::Key;
using Records = std::vector<std::pair<Key, std::vector<double>>>;

template <class Map>
Records recordsOf(Map& map) {
  Records records;
  const int doubles = doublesPerRecord(map.getValueWidth());
  for (auto it = map.begin(); it != map.end(); ++it) {
    const VirtualPair record = *it;
    const Key key = map.getDim() == 0 ? Key() : Key(record.first, record.first + map.getDim());
    records.push_back({key, {record.second, record.second + doubles}});
  }
  return records;
}

/// Sorted records, with zeros and negative labels among them.
Records makeRecords(int dim, int width, int count) {
  std::map<Key, std::vector<double>> records;
  std::mt19937 random(1);
  double value = 0;
  for (int i = 0; i < count; ++i) {
    Key key(static_cast<std::size_t>(dim));
    for (int& label : key) label = static_cast<int>(random() % 40) - 3;
    auto& values = records[key];
    for (int k = 0; k < doublesPerRecord(width); ++k) values.push_back(value += 1);
    values.resize(static_cast<std::size_t>(doublesPerRecord(width)));
  }
  return {records.begin(), records.end()};
}

template <class Map>
void load(Map& map, const Records& records) {
  for (const auto& [key, values] : records) map.emplace_end(key.data(), values.data());
}

template <class Pair>
class Conversion : public testing::Test {};

template <class Source_, class Target_>
struct Pair {
  using Source = Source_;
  using Target = Target_;
};

struct PairNames {
  template <class P>
  static std::string GetName(int) {
    return nameOf(typename P::Source(0, 1)) + "To" + nameOf(typename P::Target(0, 1));
  }

 private:
  template <class Map>
  static std::string nameOf(const Map& map) {
    constexpr const char* kNames[] = {"Map", "Vector", "Tree"};
    return kNames[static_cast<int>(map.getStorageType())];
  }
};

using Directions =
    testing::Types<Pair<DMap, DMapVector>, Pair<DMap, DMapUTree>, Pair<DMapVector, DMap>,
                   Pair<DMapVector, DMapUTree>, Pair<DMapUTree, DMap>, Pair<DMapUTree, DMapVector>>;
TYPED_TEST_SUITE(Conversion, Directions, PairNames);

TYPED_TEST(Conversion, KeepsAllRecords) {
  for (const int dim : {0, 1, 2, 3, 5, 20}) {
    for (const int width : {0, 1, 2, 5}) {
      for (const int count : {0, 1, 2, 1000}) {
        SCOPED_TRACE(testing::Message() << "dim " << dim << ", width " << width << ", " << count);
        const Records records = makeRecords(dim, width, count);
        typename TypeParam::Source source(dim, width);
        load(source, records);
        testing::internal::CaptureStdout();
        typename TypeParam::Target target(source);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(target.getDim(), dim);
        EXPECT_EQ(target.getValueWidth(), width);
        EXPECT_EQ(recordsOf(target), records);
        EXPECT_EQ(recordsOf(source), records);
        EXPECT_EQ(target.verify(), "");
        typename TypeParam::Source back(target);
        EXPECT_EQ(recordsOf(back), records);
      }
    }
  }
}

TYPED_TEST(Conversion, OutOfMemory_LeavesNothingBehindAndTheSourceAsItWas) {
  const Records records = makeRecords(3, 5, 3000);
  typename TypeParam::Source source(3, 5);
  load(source, records);
  bool hasFailed = true;
  std::uint64_t failures = 0;
  for (; hasFailed; failures += hasFailed ? 1 : 0) {
    hasFailed = false;
    const test::Allocations allocations(failures + 1);
    try {
      const typename TypeParam::Target target(source);
    } catch (const std::bad_alloc&) {
      hasFailed = true;
    }
    ASSERT_EQ(allocations.liveBytes(), 0) << failures;
  }
  EXPECT_GE(failures, 2U);
  EXPECT_EQ(recordsOf(source), records);
  EXPECT_EQ(source.verify(), "");
}

// The vector can hold a key twice, which it copies to no other container.
TEST(ConversionOfDuplicates, KeepsOneRecordOfEachKey) {
  DMapVector source(1, 1);
  for (const int label : {1, 1, 2, 3, 3}) {
    const double value = static_cast<double>(source.size());
    source.emplace_end(&label, &value);
  }
  DMap map(source);
  DMapUTree tree(source);
  EXPECT_EQ(recordsOf(map), (Records{{{1}, {0}}, {{2}, {2}}, {{3}, {3}}}));
  EXPECT_EQ(recordsOf(tree), (Records{{{1}, {1}}, {{2}, {2}}, {{3}, {4}}}));
}

}  // namespace
}  // namespace zdb::dmap
