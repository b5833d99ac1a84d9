#include "dmap/idmap.h"

#include <gtest/gtest.h>

#include <climits>

#include "support/allocations.h"

namespace zdb::dmap {
namespace {

TEST(WildcardComparison, SkipsPositionsWithAZero) {
  const struct {
    int a[3];
    int b[3];
    int dim;
    int expected;
  } cases[] = {
      {{3, 0, 7}, {3, 9, 7}, 3, 0},  {{3, 9, 7}, {3, 0, 7}, 3, 0},
      {{3, 5, 7}, {3, 9, 1}, 3, -4}, {{3, 9, 1}, {3, 5, 7}, 3, 4},
      {{3, 5, 7}, {3, 9, 1}, 1, 0},  {{3, 5, 7}, {4, 9, 1}, 0, 0},
      {{0, 2, 9}, {5, 2, 8}, 3, 1},  {{INT_MAX, 1, 1}, {-1, 1, 1}, 3, INT_MIN},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(recordNumericKeysCompareWithWildcard(c.a, c.b, c.dim), c.expected)
        << c.a[0] << ',' << c.a[1] << ',' << c.a[2] << ", dim " << c.dim;
  }
}

TEST(VirtualPair, FreesWhatItOwnsAndNothingElse) {
  for (const auto owned :
       {ElemOwnership::None, ElemOwnership::OwnsKey, ElemOwnership::OwnsKeyAndValues}) {
    const test::Allocations allocations;
    int* key = new int[3];
    const std::int64_t keyBytes = allocations.liveBytes();
    double* values = new double[50];
    const std::int64_t bothBytes = allocations.liveBytes();
    { const VirtualPair pair(key, values, owned); }
    const std::int64_t left = owned == ElemOwnership::None      ? bothBytes
                              : owned == ElemOwnership::OwnsKey ? bothBytes - keyBytes
                                                                : 0;
    EXPECT_EQ(allocations.liveBytes(), left);
    if (owned == ElemOwnership::None) delete[] key;
    if (owned != ElemOwnership::OwnsKeyAndValues) delete[] values;
  }
}

}  // namespace
}  // namespace zdb::dmap
