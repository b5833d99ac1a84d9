#include "dmap/idmap.h"

#include <gtest/gtest.h>

#include <climits>

#include "support/allocations.h"

namespace zdb::dmap {
namespace {

TEST(StorageTypes, HaveTheNumbersOfTheExportedInterface) {
  EXPECT_EQ(static_cast<int>(StorageTypes::Map), 0);
  EXPECT_EQ(static_cast<int>(StorageTypes::Vector), 1);
  EXPECT_EQ(static_cast<int>(StorageTypes::Tree), 2);
}

TEST(DoublesPerRecord, IsOneBelowTwoAndFiveOtherwise) {
  for (const int width : {-1, 0, 1}) EXPECT_EQ(doublesPerRecord(width), 1) << width;
  for (const int width : {2, 3, 5, 300}) EXPECT_EQ(doublesPerRecord(width), 5) << width;
}

TEST(WildcardComparison, SkipsPositionsWithAZero) {
  struct Case {
    int a[3];
    int b[3];
    int dim;
    int expected;
  };
  const Case cases[] = {
      {{3, 0, 7}, {3, 9, 7}, 3, 0},  {{3, 9, 7}, {3, 0, 7}, 3, 0},
      {{3, 5, 7}, {3, 9, 1}, 3, -4}, {{3, 9, 1}, {3, 5, 7}, 3, 4},
      {{3, 5, 7}, {3, 9, 1}, 1, 0},  {{3, 5, 7}, {4, 9, 1}, 0, 0},
      {{0, 0, 0}, {1, 2, 3}, 3, 0},  {{0, 2, 9}, {5, 2, 8}, 3, 1},
      {{1, 1, 1}, {2, 2, 2}, -1, 0}, {{INT_MAX, 1, 1}, {-1, 1, 1}, 3, INT_MIN},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(recordNumericKeysCompareWithWildcard(c.a, c.b, c.dim), c.expected)
        << c.a[0] << ',' << c.a[1] << ',' << c.a[2] << " and " << c.b[0] << ',' << c.b[1] << ','
        << c.b[2] << ", dim " << c.dim;
  }
}

TEST(VirtualPair, ViewsAStoredRecordOfAnyDimension) {
  alignas(double) int record[2 + 2 * 5] = {7, 8};
  const VirtualPair keyed(2, 5, record);
  EXPECT_EQ(keyed.first, record);
  EXPECT_EQ(static_cast<void*>(keyed.second), record + 2);
  EXPECT_EQ(keyed.ownership, ElemOwnership::None);

  double scalar = 1.5;
  const VirtualPair plain(0, 1, &scalar);
  EXPECT_EQ(static_cast<const void*>(plain.first), &scalar);
  EXPECT_EQ(plain.second, &scalar);
}

TEST(VirtualPair, FreesWhatItOwnsAndNothingElse) {
  for (const auto owned :
       {ElemOwnership::None, ElemOwnership::OwnsKey, ElemOwnership::OwnsKeyAndValues}) {
    const test::Allocations allocations;
    int* key = new int[3];
    const std::int64_t keyBytes = allocations.liveBytes();
    double* values = new double[5];
    const std::int64_t bothBytes = allocations.liveBytes();
    { const VirtualPair pair(key, values, owned); }
    const std::int64_t left = allocations.liveBytes();
    switch (owned) {
      case ElemOwnership::None:
        EXPECT_EQ(left, bothBytes);
        delete[] key;
        delete[] values;
        break;
      case ElemOwnership::OwnsKey:
        EXPECT_EQ(left, bothBytes - keyBytes);
        delete[] values;
        break;
      case ElemOwnership::OwnsKeyAndValues:
        EXPECT_EQ(left, 0);
        break;
    }
  }
}

}  // namespace
}  // namespace zdb::dmap
