// What solves take from an instance and write into it.
#include <array>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

TEST(KitSolution, LevelsMarginalsAndStatuses_AreWritten) {
  const Model shop(kShop);
  for (const char* solver : kSolvers) {
    SCOPED_TRACE(solver);
    const Instance instance(shop);
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_NO_SOLUTION);
    EXPECT_EQ(zkitSolveStatus(instance), 0);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED);
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9);
    const std::pair<Entry, Entry> expected[] = {
        {columnOf(instance, shop["x(a)"]), {6, -1, ZKIT_LEVEL_OK, ZKIT_AT_UPPER}},
        {columnOf(instance, shop["x(b)"]), {4, 0, ZKIT_LEVEL_OK, ZKIT_BASIC}},
        {columnOf(instance, shop["p_var"]), {3, 4, ZKIT_LEVEL_OK, ZKIT_AT_LOWER}},
        {columnOf(instance, shop["need_var"]), {10, 3, ZKIT_LEVEL_OK, ZKIT_AT_LOWER}},
        {columnOf(instance, shop["cost"]), {29, 0, ZKIT_LEVEL_OK, ZKIT_BASIC}},
        {rowOf(instance, shop["costs"]), {2, 1, ZKIT_LEVEL_OK, ZKIT_AT_LOWER}},
        {rowOf(instance, shop["needs"]), {0, 3, ZKIT_LEVEL_OK, ZKIT_AT_LOWER}},
    };
    for (const auto& [actual, wanted] : expected) {
      EXPECT_NEAR(actual.level, wanted.level, 1e-9);
      EXPECT_NEAR(actual.marginal, wanted.marginal, 1e-9);
      EXPECT_EQ(actual.status, wanted.status);
      EXPECT_EQ(actual.basis, wanted.basis) << "at level " << wanted.level;
    }
  }
}

// The cheapest way to buy ten, with the objective in different places.
TEST(KitSolution, ObjectiveInAnyPlace_GivesTheSameSolution) {
  const char* const places[] = {
      "cost -inf inf ; min cost ; costs: cost - 2 x(a) - p_var*x(b) - 3 = 2",
      "cost -inf inf ; min cost ; costs: - 2.5 cost + 5 x(a) + 2.5 p_var*x(b) + 7.5 = -5",
      "cost -1000 1000 ; min cost ; costs: - 2 cost + 4 x(a) + 2 p_var*x(b) + 6 = -4",
      "cost -inf inf ; min cost ; costs: cost - 2 x(a) - p_var*x(b) - 3 >= 2",
      "cost -inf inf ; min cost ; costs: - 3 cost + 6 x(a) + 3 p_var*x(b) + 9 <= -6",
      "cost -inf inf ; min cost ; costs: cost - 2 x(a) - p_var*x(b) = 5 ; other: cost free 0",
      "cost -inf inf ; min cost ; costs: 4 one_var*cost - 8 x(a) - 4 p_var*x(b) - 12 = 8",
      "cost -inf inf ; max cost ; costs: - cost - 2 x(a) - p_var*x(b) - 3 = 2",
      "cost -1000 inf ; max cost ; costs: - 2 cost - 4 x(a) - 2 p_var*x(b) = 10 ; o: cost free 0",
      "cost -inf inf ; max cost ; costs: - 5 cost - 10 x(a) - 5 p_var*x(b) >= 25",
  };
  for (const std::string place : places) {
    const Model model("x(a) 0 6 ; p_var 3 3 3 ; need_var 10 10 10 ; one_var 1 1 1 ; " + place +
                      " ; needs: x(a) + x(b) - need_var >= 0");
    for (const char* solver : kSolvers) {
      SCOPED_TRACE(place + ", " + solver);
      const Instance instance(model);
      ASSERT_EQ(instance.solve(solver), "");
      ASSERT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
      const double sign = zkitDirection(instance);
      EXPECT_NEAR(zkitObjective(instance), sign * 29, 1e-9);
      EXPECT_NEAR(columnOf(instance, model["p_var"]).marginal, sign * 4, 1e-9);
      EXPECT_NEAR(rowOf(instance, model["needs"]).marginal, sign * 3, 1e-9);
      expectOptimal(model, instance);
    }
  }
}

TEST(KitSolution, AlternativeBoundsAndSides_AreTakenWhileTheyAreOn) {
  const Model shop(kShop);
  for (const char* solver : kSolvers) {
    const Instance instance(shop);
    EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop["x(a)"], 1), 1);
    EXPECT_EQ(CzmiSetAltRHSOne(instance, shop["needs"], 10), 1);  // 20 in all
    const double costs[2][2] = {{29, 5 + 12 + 42}, {5 + 2 + 27, 5 + 2 + 57}};
    for (const auto& [bounds, sides] : {std::pair(0, 0), {1, 0}, {0, 1}, {1, 1}, {0, 0}}) {
      EXPECT_EQ(CzmiAltBoundsSet(instance, bounds) + CzmiAltRHSSet(instance, sides), 2);
      EXPECT_EQ(instance.solve(solver), "");
      EXPECT_NEAR(zkitObjective(instance), costs[bounds][sides], 1e-9) << solver;
      expectOptimal(shop, instance);
    }
  }
}

// The way of the database: it puts the parameters into place and the constants to the right-hand
// sides, and solves with that until it does so again.
TEST(KitSolution, ForcedLinear_TakesCoefficientsOfTheLastUpdateAndSidesAsTheyAre) {
  const Model shop(kShop);
  for (const char* solver : kSolvers) {
    const Instance instance(shop);
    const auto update = [&] {
      std::array<double, 2> constants{};
      EXPECT_EQ(CzmiAltRHSSet(instance, 0), 1);
      EXPECT_EQ(CzmiEvalGradNLUpdate(instance, constants.data()), 1);
      for (const int row : {0, 1}) {
        CzmiSetAltRHSOne(instance, row, CzmiGetRhsOne(instance, row) - constants[row]);
      }
      EXPECT_EQ(CzmiAltRHSSet(instance, 1), 1);
    };
    update();
    EXPECT_EQ(CzmiForceLinearSet(instance, 1), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9) << solver;
    EXPECT_EQ(CzmiSetVarLOne(instance, shop["p_var"], 1), 1);
    EXPECT_EQ(CzmiSetVarLOne(instance, shop["need_var"], 20), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9) << solver << ": not updated";
    update();
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 25, 1e-9) << solver;
    EXPECT_EQ(CzmiGetEquLOne(instance, shop["costs"]), 2) << solver << ": constants included";
    EXPECT_EQ(CzmiAltRHSSet(instance, 0) + CzmiForceLinearSet(instance, 0), 2);
    EXPECT_EQ(zkitSolve(instance, solver, nullptr, 0), 1);
    EXPECT_NEAR(zkitObjective(instance), 25, 1e-9) << solver << ": by itself";
    expectOptimal(shop, instance);
  }
}

// A search may end at levels that are whole within its tolerance, and are not when they are.
TEST(KitSolution, RoundingThatNoRowAllows_LeavesTheLevelsOfTheSearch) {
  const Model model("int x 0 9 ; e: 1000000 x - y = 3000000.5 ; min x");
  for (const char* solver : kMipSolvers) {
    const Instance instance(model);
    const Hot hot(solver);
    for (int k = 0; k < 2; ++k) {
      EXPECT_EQ(hot.solve(instance), 0);
      EXPECT_EQ(zkitModelStatus(instance), ZKIT_INTEGER_SOLUTION) << solver;
      EXPECT_NEAR(CzmiGetVarLOne(instance, model["x"]), 3, 1e-5) << solver;
      EXPECT_NEAR(CzmiGetEquLOne(instance, model["e"]), 3e6, 1) << solver;
      EXPECT_NEAR(CzmiGetVarLOne(instance, model["y"]), 0, 1e-6) << solver;
    }
  }
}

}  // namespace
