// Every container, driven through the same scenarios beside a std::map.

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <tuple>

#include "dmap/container_model.h"
#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"

namespace zdb::test {
namespace {

// Each container with its intended differences.
const std::vector<Factory>& factories() {
  static const std::vector<Factory> all = {
      factory<dmap::DMap, dmap::DMapIterator>("DMap", {}),
      factory<dmap::DMapVector, dmap::VectorIterator>("DMapVector", {.keepsPlaces = false,
                                                                     .lowerBound = Bound::Bracket,
                                                                     .assignsToBound = true,
                                                                     .takesAnyRank = true,
                                                                     .wantsPositiveLabels = true,
                                                                     .trustsTheCaller = true,
                                                                     .warns = true}),
      factory<dmap::DMapUTree, dmap::TreeIterator>("DMapUTree", {.lowerBound = Bound::NextOrNowhere,
                                                                 .assignsToBound = true,
                                                                 .overwritesLargest = true,
                                                                 .endHasRank = true}),
  };
  return all;
}

using Steps = std::vector<Step>;
using Random = std::mt19937;

int pick(Random& random, int below) {
  return static_cast<int>(random() % static_cast<unsigned>(below));
}

Steps inOrder(Step::Kind kind, const std::vector<int>& keys) {
  Steps steps;
  for (const int key : keys) steps.push_back({kind, key});
  return steps;
}

std::vector<int> ascending(int keys) {
  std::vector<int> ids(static_cast<std::size_t>(keys));
  std::iota(ids.begin(), ids.end(), 0);
  return ids;
}

std::vector<int> descending(int keys) {
  std::vector<int> ids = ascending(keys);
  std::reverse(ids.begin(), ids.end());
  return ids;
}

std::vector<int> shuffled(int keys, Random& random) {
  std::vector<int> ids = ascending(keys);
  std::shuffle(ids.begin(), ids.end(), random);
  return ids;
}

Steps operator+(Steps first, const Steps& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Steps empty(int /*keys*/, Random& /*random*/) {
  return {{Step::Find, 0}, {Step::LowerBound, 0}, {Step::Erase, 0}};
}

Steps one(int /*keys*/, Random& /*random*/) {
  return {{Step::Emplace, 1}, {Step::Find, 0},  {Step::Find, 1},       {Step::LowerBound, 0},
          {Step::Append, 1},  {Step::Erase, 1}, {Step::LowerBound, 0}, {Step::Append, 1},
          {Step::Assign, 0},  {Step::Place, 2}, {Step::LowerBound, 2}, {Step::Place, 0}};
}

Steps sorted(int keys, Random& /*random*/) {
  return inOrder(Step::Append, ascending(keys));
}

Steps reversed(int keys, Random& /*random*/) {
  return inOrder(Step::Emplace, descending(keys));
}

Steps placed(int keys, Random& random) {
  return inOrder(Step::Place, shuffled(keys, random)) + inOrder(Step::Place, ascending(keys));
}

Steps scattered(int keys, Random& random) {
  Steps steps = inOrder(Step::Emplace, shuffled(keys, random));
  for (int i = 0; i < keys; ++i) {
    steps.push_back({i % 2 == 0 ? Step::Find : Step::LowerBound, pick(random, keys)});
  }
  return steps;
}

// Appending out of order, as a file in a foreign order would.
Steps appendedOutOfOrder(int keys, Random& random) {
  return inOrder(Step::Append, shuffled(keys, random));
}

// Runs that end in the middle of what is there, so that leaves split at their edges.
Steps interleavedRuns(int keys, Random& /*random*/) {
  Steps steps;
  for (int start = 0; start < 7; ++start) {
    for (int key = start; key < keys; key += 7) {
      steps.push_back({Step::EmplaceHint, key, start % 2 == 0 ? key + 1 : key - 1});
    }
  }
  return steps;
}

Steps duplicates(int keys, Random& random) {
  Steps steps;
  for (int i = 0; i < keys; ++i) {
    const auto kind = static_cast<Step::Kind>(pick(random, Step::Erase));
    steps.push_back({kind, pick(random, 40), pick(random, 42) - 2});
  }
  return steps;
}

Steps erasedInEveryOrder(int keys, Random& random) {
  Steps steps;
  for (const auto& order : {ascending(keys), descending(keys), shuffled(keys, random)}) {
    steps = steps + sorted(keys, random) + inOrder(Step::Erase, order);
  }
  return steps + inOrder(Step::Emplace, shuffled(keys, random)) +
         inOrder(Step::Erase, shuffled(keys, random));
}

// Thins out to one record in twenty and fills up again: leaves and inner nodes merge and split.
Steps thinnedOut(int keys, Random& random) {
  Steps steps = scattered(keys, random);
  for (int round = 0; round < 2; ++round) {
    for (const int key : shuffled(keys, random)) {
      if (key % 20 != 0) steps.push_back({Step::Erase, key});
    }
    steps = steps + inOrder(Step::Append, ascending(keys));
  }
  return steps;
}

Steps mixedHints(int keys, Random& random) {
  Steps steps;
  for (const int key : shuffled(keys, random)) {
    const int hints[] = {-1, -2, key, key + 1, std::max(key - 1, 0), pick(random, keys)};
    const auto kind = pick(random, 2) == 0 ? Step::EmplaceHint : Step::Assign;
    steps.push_back({kind, key, hints[pick(random, 6)]});
  }
  return steps;
}

Steps everything(int keys, Random& random) {
  Steps steps;
  for (int i = 0; i < 4 * keys; ++i) {
    const auto kind = static_cast<Step::Kind>(pick(random, Step::LowerBound + 1));
    steps.push_back({kind, pick(random, keys), pick(random, keys) - 2});
  }
  return steps;
}

struct Scenario {
  const char* name;
  Steps (*make)(int keys, Random& random);
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
  *out << scenario.name;
}

const Scenario kScenarios[] = {
    {"Empty", empty},
    {"One", one},
    {"Sorted", sorted},
    {"Reversed", reversed},
    {"Placed", placed},
    {"Scattered", scattered},
    {"AppendedOutOfOrder", appendedOutOfOrder},
    {"InterleavedRuns", interleavedRuns},
    {"Duplicates", duplicates},
    {"ErasedInEveryOrder", erasedInEveryOrder},
    {"ThinnedOut", thinnedOut},
    {"MixedHints", mixedHints},
    {"Everything", everything},
};

// Checks everything after each of the first steps and from time to time later.
void run(Subject& subject, const Steps& steps) {
  const std::size_t interval = std::max<std::size_t>(steps.size() / 12, 1);
  ASSERT_NO_FATAL_FAILURE(subject.check());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    ASSERT_NO_FATAL_FAILURE(subject.apply(steps[i]));
    if (i < 150 || i % interval == 0) {
      ASSERT_NO_FATAL_FAILURE(subject.check());
    }
  }
  ASSERT_NO_FATAL_FAILURE(subject.check());
}

using Parameters = std::tuple<Factory, Scenario>;

class Containers : public testing::TestWithParam<Parameters> {
 protected:
  // A new seed in every run would hide faults as often as it finds them; set this to search.
  static constexpr unsigned kSeed = 20240601;

  static void runWith(int dim, int width, int keys) {
    SCOPED_TRACE("dim " + std::to_string(dim) + ", width " + std::to_string(width) + ", seed " +
                 std::to_string(kSeed));
    Random random(kSeed + static_cast<unsigned>(dim));
    const auto& [factory, scenario] = GetParam();
    const auto subject = factory.make(dim, width, keys);
    testing::internal::CaptureStdout();
    run(*subject, scenario.make(keys, random));
    const std::string printed = testing::internal::GetCapturedStdout();
    ASSERT_TRUE(printed == subject->expectedOutput()) << printed.substr(0, 4000);
  }
};

TEST_P(Containers, BehaveLikeAStandardMap) {
  for (const int dim : {0, 1, 2, 3, 7, 20}) {
    for (const int width : {1, 5}) {
      ASSERT_NO_FATAL_FAILURE(runWith(dim, width, dim == 0 ? 50 : 2000));
    }
  }
}

// Each key length has code of its own.
TEST_P(Containers, BehaveLikeAStandardMap_InEveryKind) {
  for (int dim = 1; dim <= dmap::kMaxDim; ++dim) {
    for (const int width : {0, 5}) ASSERT_NO_FATAL_FAILURE(runWith(dim, width, 200));
  }
}

// Enough records for three levels of inner nodes.
TEST_P(Containers, BehaveLikeAStandardMap_WithManyRecords) {
  ASSERT_NO_FATAL_FAILURE(runWith(2, 1, 30000));
}

INSTANTIATE_TEST_SUITE_P(All, Containers,
                         testing::Combine(testing::ValuesIn(factories()),
                                          testing::ValuesIn(kScenarios)),
                         [](const testing::TestParamInfo<Parameters>& instance) {
                           return std::get<0>(instance.param).name +
                                  std::get<1>(instance.param).name;
                         });

}  // namespace
}  // namespace zdb::test
