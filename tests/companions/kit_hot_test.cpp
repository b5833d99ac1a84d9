// Solving again after changes, from where the last solve ended.
#include <gtest/gtest.h>

#include <thread>

#include "companions/kit_solving.h"
#include "kit/session.h"
#include "zkitdclib.h"

namespace zkittest {

namespace {

using zkit::Instance;
using zkit::Session;

constexpr const char* kSolvers[] = {"clp", "cbc", "glpk"};

double uniform(std::mt19937& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

// Ships from supplies to demands at least cost; unit costs, and the yields of some routes, are
// updatable parameters.
struct Transport {
  ModelUnderTest model;
  std::vector<int> prices;
  std::vector<int> yields;
  std::vector<int> supplyRows;
  std::vector<int> demandRows;
  std::vector<int> routes;
};

Transport transport(int supplies, int demands, double integerShare, std::mt19937& random) {
  Transport made;
  ModelUnderTest& model = made.model;
  const int cost = model.addObjective(1);
  for (int s = 0; s < supplies; ++s) {
    made.supplyRows.push_back(model.addRow(zkit::LessRow, 3 * demands));
  }
  for (int d = 0; d < demands; ++d) {
    made.demandRows.push_back(model.addRow(zkit::GreaterRow, uniform(random, 1, 5)));
  }
  for (int k = 0; k < supplies * demands; ++k) {
    const bool isInteger = uniform(random, 0, 1) < integerShare;
    made.routes.push_back(model.addColumn(0, kInfinity, isInteger));
    made.prices.push_back(model.addParameter(uniform(random, 1, 9)));
    model.setProduct(cost, made.prices.back(), made.routes.back(), 1);
    model.set(made.supplyRows[k / demands], made.routes.back(), 1);
    made.yields.push_back(model.addParameter(1));
    model.setProduct(made.demandRows[k % demands], made.yields.back(), made.routes.back(), 1);
  }
  return made;
}

// One of the kinds of change, somewhere.
void change(const Transport& transport, int kind, Instance& instance, std::mt19937& random) {
  const auto pick = [&random](const std::vector<int>& list) {
    return list[random() % list.size()];
  };
  for (int k = 0; k < 3; ++k) {
    const double share = uniform(random, 0.0, 1.0);
    switch (kind) {
      case 0:
        instance.columns[pick(transport.prices)].level = 1 + 8 * share;
        break;
      case 1:
        instance.rows[pick(transport.demandRows)].rhs = 1 + 4 * share;
        break;
      case 2:
        instance.columns[pick(transport.routes)].upper = share < 0.3 ? kInfinity : 4 * share;
        break;
      case 3:  // 0 takes the route away, another level brings it back
        instance.columns[pick(transport.yields)].level = share < 0.2 ? 0.0 : 0.5 + share;
        break;
      default: {
        zkit::ColumnState& column = instance.columns[pick(transport.routes)];
        column.lower = share < 0.5 ? 0.0 : 0.1 * share;
        column.upper = std::max(column.lower, column.upper);
      }
    }
  }
}

class KitHot : public testing::TestWithParam<const char*> {};

TEST_P(KitHot, ComesToTheSameAsFromScratchInFewerIterations) {
  const zkit::Engine& engine = zkit::usableEngine(GetParam());
  std::mt19937 random(91);
  const Transport made = transport(5, 9, 0.0, random);
  Instance instance(made.model.data(), kNoDirectory);
  Session hot(engine);
  int hotIterations = 0;
  int scratchIterations = 0;
  for (int k = 0; k < 100 && !HasFailure(); ++k) {
    change(made, k % 5, instance, random);
    hot.solve(instance);
    const std::string what = engine.name + std::string(", change ") + std::to_string(k);
    ASSERT_TRUE(hot.canContinue());
    const int status = instance.modelStatus;
    const double objective = objectiveOf(instance);
    if (status == ZKIT_OPTIMAL) expectOptimal(instance, what);
    hotIterations += instance.iterations;
    Session scratch(engine);
    scratch.solve(instance);
    EXPECT_EQ(instance.modelStatus, status) << what;
    EXPECT_NEAR(objectiveOf(instance), objective, 1e-6 * std::max(1.0, objective)) << what;
    scratchIterations += instance.iterations;
  }
  if (engine.worksInPlace) {
    EXPECT_LT(2 * hotIterations, scratchIterations) << engine.name;
  }
}

// A solve that finds no solution must not spoil those after it.
TEST_P(KitHot, GoesOnAfterInfeasibleAndFailedSolves) {
  std::mt19937 random(17);
  const Transport made = transport(3, 4, 0.0, random);
  Instance instance(made.model.data(), kNoDirectory);
  Session session(zkit::usableEngine(GetParam()));
  session.solve(instance);
  const double objective = objectiveOf(instance);
  const struct {
    std::function<double&()> place;
    double value;
    int status;
  } kSpoilers[] = {
      {[&]() -> double& { return instance.rows[made.demandRows[0]].rhs; }, 1e5, ZKIT_INFEASIBLE},
      {[&]() -> double& { return instance.columns[made.routes[1]].upper; }, -1, ZKIT_INFEASIBLE},
      {[&]() -> double& { return instance.columns[made.prices[2]].level; }, -5, ZKIT_OPTIMAL},
      {[&]() -> double& { return instance.columns[made.prices[2]].level; }, kInfinity,
       ZKIT_ERROR_NO_SOLUTION},
      {[&]() -> double& { return instance.columns[made.yields[2]].level; }, kInfinity,
       ZKIT_ERROR_NO_SOLUTION},
  };
  for (const auto& spoiler : kSpoilers) {
    const double kept = spoiler.place();
    spoiler.place() = spoiler.value;
    session.solve(instance);
    EXPECT_EQ(instance.modelStatus, spoiler.status) << GetParam() << " " << spoiler.value;
    spoiler.place() = kept;
    session.solve(instance);
    EXPECT_EQ(instance.modelStatus, ZKIT_OPTIMAL) << GetParam() << " " << spoiler.value;
    EXPECT_NEAR(objectiveOf(instance), objective, 1e-6) << GetParam() << " " << spoiler.value;
  }
}

// Sessions may be used by one thread after another, and by several threads with one each.
TEST_P(KitHot, MayMoveBetweenThreads) {
  std::mt19937 random(29);
  const Transport made = transport(4, 6, 0.0, random);
  Instance instance(made.model.data(), kNoDirectory);
  Session session(zkit::usableEngine(GetParam()));
  session.solve(instance);
  const double objective = objectiveOf(instance);
  std::thread([&] { session.solve(instance); }).join();
  EXPECT_NEAR(objectiveOf(instance), objective, 1e-9);
  std::vector<std::thread> threads;
  threads.reserve(4);
  std::vector<double> objectives(4);
  for (double& each : objectives) {
    threads.emplace_back([&made, &each] {
      Instance own(made.model.data(), kNoDirectory);
      for (int k = 0; k < 20; ++k) zkit::solveFromScratch(own, GetParam());
      each = objectiveOf(own);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const double each : objectives) EXPECT_NEAR(each, objective, 1e-9);
}

TEST(KitHotIntegers, ComeToTheSameAsFromScratch) {
  for (const char* name : {"cbc", "glpk"}) {
    std::mt19937 random(23);
    const Transport made = transport(3, 4, 0.6, random);
    Instance instance(made.model.data(), kNoDirectory);
    Session hot(zkit::usableEngine(name));
    for (int k = 0; k < 30 && !HasFailure(); ++k) {
      change(made, k % 5, instance, random);
      hot.solve(instance);
      const std::string what = name + std::string(", change ") + std::to_string(k);
      const int status = instance.modelStatus;
      const double objective = objectiveOf(instance);
      if (status == ZKIT_INTEGER_SOLUTION) expectOptimal(instance, what);
      zkit::solveFromScratch(instance, name);
      EXPECT_EQ(instance.modelStatus, status) << what;
      EXPECT_NEAR(objectiveOf(instance), objective, 1e-6) << what;
    }
  }
}

// Searches keep what they keep to themselves.
TEST(KitHotIntegers, MayBeSolvedInSeveralThreadsAtOnce) {
  for (const char* name : {"cbc", "glpk"}) {
    std::mt19937 random(31);
    const Transport made = transport(3, 5, 0.7, random);
    Instance first(made.model.data(), kNoDirectory);
    zkit::solveFromScratch(first, name);
    ASSERT_EQ(first.modelStatus, ZKIT_INTEGER_SOLUTION) << name;
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::vector<double> objectives(4);
    for (double& each : objectives) {
      threads.emplace_back([&made, &each, name] {
        Instance own(made.model.data(), kNoDirectory);
        for (int k = 0; k < 10; ++k) zkit::solveFromScratch(own, name);
        each = objectiveOf(own);
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const double each : objectives) EXPECT_NEAR(each, objectiveOf(first), 1e-6) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Solvers, KitHot, testing::ValuesIn(kSolvers),
                         [](const auto& parameters) { return std::string(parameters.param); });

}  // namespace

}  // namespace zkittest
