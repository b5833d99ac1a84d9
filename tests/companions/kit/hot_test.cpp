// Solving again with the same solver: what must not spoil the solves after it, and threads.
#include <thread>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

class KitHot : public testing::TestWithParam<const char*> {
 protected:
  const Hot hot_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Solvers, KitHot, testing::ValuesIn(kSolvers),
                         [](const auto& each) { return std::string(each.param); });

TEST_P(KitHot, SolvesWithoutASolution_LeaveNothingBehind) {
  const Model model(
      "x(a) 0 6 ; x(b) 0 40 ; p_var 3 3 3 ; yield_var 1 1 1 ; cost -inf inf ; min cost ;"
      "costs: cost - 2 x(a) - p_var*x(b) - 5 = 0 ; needs: x(a) + yield_var*x(b) >= 10");
  const struct {
    int (*set)(void*, int, double);
    const char* name;
    double value, kept;
    int status;
  } spoilers[] = {
      {CzmiSetAltRHSOne, "needs", 1e5, 10, ZKIT_INFEASIBLE},
      {CzmiSetAltVarUpperOne, "x(a)", -1, 6, ZKIT_INFEASIBLE},
      {CzmiSetVarLOne, "p_var", -5, 3, ZKIT_OPTIMAL},
      {CzmiSetVarLOne, "p_var", kInf, 3, ZKIT_ERROR_NO_SOLUTION},
      {CzmiSetVarLOne, "yield_var", kNaN, 1, ZKIT_ERROR_NO_SOLUTION},
      {CzmiSetAltVarUpperOne, "x(a)", -kInf, 6, ZKIT_ERROR_NO_SOLUTION},
      {CzmiSetAltVarLowerOne, "x(a)", kInf, 0, ZKIT_ERROR_NO_SOLUTION},
      {CzmiSetAltVarLowerOne, "x(a)", kNaN, 0, ZKIT_ERROR_NO_SOLUTION},
      {CzmiSetAltRHSOne, "needs", kInf, 10, ZKIT_ERROR_NO_SOLUTION},
  };
  const Instance instance(model);
  CzmiAltBoundsSet(instance, 1);
  CzmiAltRHSSet(instance, 1);
  for (const auto& [set, name, value, kept, status] : spoilers) {
    SCOPED_TRACE(std::string(name) + " " + std::to_string(value));
    const bool isRefused = status == ZKIT_ERROR_NO_SOLUTION;
    EXPECT_EQ(set(instance, model[name], value), 1);
    EXPECT_EQ(hot_.solve(instance), isRefused ? 1 : 0);
    EXPECT_EQ(zkitModelStatus(instance), status);
    EXPECT_EQ(zkitSolveStatus(instance), isRefused ? ZKIT_SETUP_FAILED : ZKIT_COMPLETED);
    EXPECT_EQ(std::string(zkitSolveMessage(instance)).empty(), !isRefused);
    EXPECT_TRUE(zkitIterations(instance) == 0 || value == 1e5 || value == -5) << "no solver ran";
    EXPECT_EQ(set(instance, model[name], kept), 1);
    EXPECT_EQ(hot_.solve(instance), 0);
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9);
    expectOptimal(model, instance);
  }
}

// At p_var 1 the columns that are basic at 2 are the same.
TEST_P(KitHot, BasisThatBecomesSingular_GivesWayToANewOne) {
  const Model model(
      "p_var 2 2 2 ; z -inf inf ; max z ; c: 2 x + 3 y - z = 0 ; e(1): x + p_var*y <= 4 ;"
      "e(2): x + y <= 3");
  const Instance instance(model);
  for (const auto& [level, objective] : {std::pair(2, 7.0), {1, 9.0}, {2, 7.0}}) {
    EXPECT_EQ(CzmiSetVarLOne(instance, model["p_var"], level), 1);
    EXPECT_EQ(hot_.solve(instance), 0);
    EXPECT_NEAR(zkitObjective(instance), objective, 1e-9);
    expectOptimal(model, instance);
  }
}

TEST_P(KitHot, OtherModelsAndOtherForms_AreTakenAnew) {
  const Model shop(kShop);
  const Model small("x 0 4 ; e: x <= 9 ; max x");
  const Instance instance(shop);
  const Instance other(small);
  EXPECT_EQ(CzmiAltBoundsSet(instance, 1), 1);
  for (const double upper : {kInf, 28.0, 40.0, kInf}) {
    EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop["cost"], upper), 1);
    EXPECT_EQ(hot_.solve(instance), 0);
    EXPECT_EQ(zkitModelStatus(instance), upper == 28 ? ZKIT_INFEASIBLE : ZKIT_OPTIMAL) << upper;
    if (upper != 28) expectOptimal(shop, instance);
  }
  EXPECT_EQ(hot_.solve(other), 0);
  EXPECT_EQ(zkitObjective(other), 4);
  EXPECT_EQ(CzmiSetAltVarLowerOne(instance, shop["cost"], 35), 1);
  EXPECT_EQ(hot_.solve(instance), 0);
  EXPECT_NEAR(zkitObjective(instance), 35, 1e-9);
  expectOptimal(shop, instance);
}

TEST(KitHotIntegers, Relaxed_AreOrdinaryColumnsUntilTheyAreIntegerAgain) {
  const Model model(kShop + std::string(" ; int x(b)"));
  for (const char* solver : kMipSolvers) {
    const Instance instance(model);
    const Hot hot(solver);
    EXPECT_EQ(CzmiSetVarLOne(instance, model["need_var"], 8.5), 1);
    for (const int type : {ZKIT_MIP, ZKIT_RMIP, ZKIT_MIP}) {
      EXPECT_EQ(zkitSetModelType(instance, type), 1);
      EXPECT_EQ(hot.solve(instance), 0);
      const bool isMip = type == ZKIT_MIP;
      EXPECT_EQ(zkitModelStatus(instance), isMip ? ZKIT_INTEGER_SOLUTION : ZKIT_OPTIMAL) << solver;
      EXPECT_NEAR(CzmiGetVarLOne(instance, model["x(b)"]), isMip ? 3 : 2.5, 1e-7) << solver;
      expectOptimal(model, instance);
    }
  }
}

// A solver may be used by one thread after another, and several threads may have one each.
TEST_P(KitHot, Threads_MayShareNothingOrTakeTurns) {
  const Silence silence;
  const bool isMip = std::string(GetParam()) != "clp";
  std::mt19937 random(3);
  const Model model(randomModel({6, 8, true, true, isMip ? 0.5 : 0.0}, random));
  const Instance instance(model);
  EXPECT_EQ(hot_.solve(instance), 0);
  const double objective = zkitObjective(instance);
  std::thread([&] { EXPECT_EQ(hot_.solve(instance), 0); }).join();
  EXPECT_NEAR(zkitObjective(instance), objective, 1e-9);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      const Instance own(model);
      for (int k = 0; k < 10; ++k) EXPECT_EQ(own.solve(GetParam()), "");
      EXPECT_NEAR(zkitObjective(own), objective, 1e-6);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
