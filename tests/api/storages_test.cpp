// The three record storages seen by a host: whatever is done to records, symbols and databases,
// they hold what a model says, so that everything but speed and size is the same.
#include <gtest/gtest.h>

#include "fuzz/storages/storagerun.h"

namespace {

class Storages : public testing::TestWithParam<std::uint32_t> {};

INSTANTIATE_TEST_SUITE_P(Seeds, Storages, testing::Range(1U, 9U));

TEST_P(Storages, AnySteps_MatchTheModel) {
  EXPECT_EQ(zdb::test::runSteps(GetParam(), 400), "");
}

}  // namespace
