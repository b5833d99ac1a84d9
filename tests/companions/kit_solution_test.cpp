// What solves take from an instance and write into it.
#include "kit_testing.h"

namespace {

using namespace kittest;

TEST(KitSolution, Solve_WritesLevelsMarginalsAndStatuses) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Shop shop;
    const Instance instance(shop.model);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL) << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED) << solver;
    EXPECT_STREQ(zkitSolveMessage(instance), "");
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9) << solver;
    const struct {
      Record record;
      double level, marginal;
      int basis;
    } expected[] = {
        {columnRecord(instance, shop.a), 6, -1, ZKIT_AT_UPPER},
        {columnRecord(instance, shop.b), 4, 0, ZKIT_BASIC},
        {columnRecord(instance, shop.p), 3, 4, ZKIT_AT_LOWER},
        {columnRecord(instance, shop.need), 10, 3, ZKIT_AT_LOWER},
        {columnRecord(instance, shop.cost), 29, 0, ZKIT_BASIC},
        {rowRecord(instance, shop.costs), 2, 1, ZKIT_AT_LOWER},
        {rowRecord(instance, shop.needs), 0, 3, ZKIT_AT_LOWER},
    };
    for (const auto& each : expected) {
      EXPECT_NEAR(each.record.level, each.level, 1e-9) << solver;
      EXPECT_NEAR(each.record.marginal, each.marginal, 1e-9) << solver;
      EXPECT_EQ(each.record.status, ZKIT_LEVEL_OK) << solver;
      EXPECT_EQ(each.record.basis, each.basis) << solver << " at level " << each.level;
    }
  }
}

// The cheapest way to buy ten, with the objective in different places.
struct ObjectivePlace {
  const char* name;
  double lower, upper;  // of the objective
  int type;             // of the row that defines it
  double factor;        // of that whole row
  bool standsInTwoRows;
  bool hasParameter;  // times the objective in its row
  int direction;      // -1: the most negative cost
};

const ObjectivePlace kObjectivePlaces[] = {
    {"Free", -kInf, kInf, ZKIT_EQUAL, 1, false, false, 1},
    {"Scaled", -kInf, kInf, ZKIT_EQUAL, -2.5, false, false, 1},
    {"Bounded", -1000, 1000, ZKIT_EQUAL, -2, false, false, 1},
    {"Inequality", -kInf, kInf, ZKIT_GREATER, 1, false, false, 1},
    {"ReverseInequality", -kInf, kInf, ZKIT_LESS, -3, false, false, 1},
    {"TwoRows", -kInf, kInf, ZKIT_EQUAL, 2, true, false, 1},
    {"Parameter", -kInf, kInf, ZKIT_EQUAL, 4, false, true, 1},
    {"Maximised", -kInf, kInf, ZKIT_EQUAL, 2, false, false, -1},
    {"MaximisedBounded", -1000, kInf, ZKIT_EQUAL, 2, true, false, -1},
    {"MaximisedInequality", -kInf, kInf, ZKIT_GREATER, 5, false, false, -1},
};

class KitObjective : public testing::TestWithParam<ObjectivePlace> {};

TEST_P(KitObjective, AnyPlace_GivesTheSameSolution) {
  const ObjectivePlace& place = GetParam();
  const double sign = place.direction;
  const Model model;
  const int x = model.variable("x", 1);
  const int a = model.column(x, {"a"}, 0, 6);
  const int b = model.column(x, {"b"}, 0, kInf);
  const int p = model.scalar("p_var", 3, 3, 3);
  const int need = model.scalar("need_var", 10, 10, 10);
  const int one = model.scalar("one_var", 1, 1, 1);
  const int cost = model.scalar("cost", place.lower, place.upper);
  const int costs = model.scalarRow("costs", place.type, 2 * place.factor);
  const int needs = model.scalarRow("needs", ZKIT_GREATER, 0);
  if (place.hasParameter) {
    model.addProduct(costs, one, cost, place.factor * sign);
  } else {
    model.add(costs, cost, place.factor * sign);
  }
  if (place.standsInTwoRows) model.add(model.scalarRow("other", ZKIT_FREE, 0), cost, 1);
  model.add(costs, a, -2 * place.factor);
  model.addProduct(costs, p, b, -place.factor);
  model.addConstant(costs, -3 * place.factor);
  for (const int column : {a, b}) model.add(needs, column, 1);
  model.add(needs, need, -1);
  ASSERT_EQ(zkitSetObjective(model, cost, place.direction), 1);
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Instance instance(model);
    ASSERT_EQ(instance.solve(solver), "");
    ASSERT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL) << solver;
    EXPECT_NEAR(zkitObjective(instance), sign * 29, 1e-9) << solver;
    EXPECT_NEAR(CzmiGetVarLOne(instance, a), 6, 1e-9) << solver;
    EXPECT_NEAR(CzmiGetVarLOne(instance, b), 4, 1e-9) << solver;
    EXPECT_NEAR(CzmiGetEquLOne(instance, costs), 2 * place.factor, 1e-9) << solver;
    EXPECT_NEAR(columnRecord(instance, a).marginal, sign * -1, 1e-9) << solver;
    EXPECT_NEAR(columnRecord(instance, p).marginal, sign * 4, 1e-9) << solver;
    EXPECT_NEAR(columnRecord(instance, need).marginal, sign * 3, 1e-9) << solver;
    EXPECT_NEAR(rowRecord(instance, needs).marginal, sign * 3, 1e-9) << solver;
    EXPECT_NEAR(rowRecord(instance, costs).marginal, sign / place.factor, 1e-9) << solver;
  }
}

INSTANTIATE_TEST_SUITE_P(Places, KitObjective, testing::ValuesIn(kObjectivePlaces),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(KitSolution, ObjectiveThatIsBoundForAWhile_IsKeptToIt) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Shop shop;
    const Instance instance(shop.model);
    EXPECT_EQ(CzmiAltBoundsSet(instance, 1), 1);
    for (const double upper : {kInf, 28.0, 40.0, kInf}) {
      EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop.cost, upper), 1);
      ASSERT_EQ(instance.solve(solver), "");
      const int expected = upper == 28.0 ? ZKIT_INFEASIBLE : ZKIT_OPTIMAL;
      EXPECT_EQ(zkitModelStatus(instance), expected) << solver << " up to " << upper;
    }
    EXPECT_EQ(CzmiSetAltVarLowerOne(instance, shop.cost, 35), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 35, 1e-9) << solver;
  }
}

TEST(KitSolution, ParameterAsObjective_LeavesTheRestToBeFeasible) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Shop shop;
    ASSERT_EQ(zkitSetObjective(shop.model, shop.p, 1), 1);
    const Instance instance(shop.model);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL) << solver;
    EXPECT_EQ(zkitObjective(instance), 3) << solver;
    EXPECT_EQ(columnRecord(instance, shop.p).marginal, 1) << solver;
    EXPECT_GE(CzmiGetEquLOne(instance, shop.needs), -1e-9) << solver;
  }
}

TEST(KitSolution, Solve_TakesAlternativeBoundsAndSidesWhileTheyAreOn) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Shop shop;
    const Instance instance(shop.model);
    const auto costWith = [&](int altBounds, int altRhs) {
      EXPECT_EQ(CzmiAltBoundsSet(instance, altBounds), 1);
      EXPECT_EQ(CzmiAltRHSSet(instance, altRhs), 1);
      EXPECT_EQ(instance.solve(solver), "");
      EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
      return zkitObjective(instance);
    };
    EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop.a, 1), 1);
    EXPECT_EQ(CzmiSetAltRHSOne(instance, shop.needs, 10), 1);  // 20 in all
    EXPECT_NEAR(costWith(0, 0), 29, 1e-9) << solver;
    EXPECT_NEAR(costWith(1, 0), 5 + 2 + 27, 1e-9) << solver;
    EXPECT_NEAR(costWith(0, 1), 5 + 12 + 42, 1e-9) << solver;
    EXPECT_NEAR(costWith(1, 1), 5 + 2 + 57, 1e-9) << solver;
    EXPECT_NEAR(costWith(0, 0), 29, 1e-9) << solver;
  }
}

TEST(KitSolution, ForcedLinear_TakesCoefficientsOfTheLastUpdateAndSidesAsTheyAre) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Shop shop;
    const Instance instance(shop.model);
    instance.updateLinear();
    EXPECT_EQ(CzmiAltRHSSet(instance, 1), 1);
    EXPECT_EQ(CzmiForceLinearSet(instance, 1), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9) << solver;
    EXPECT_EQ(CzmiSetVarLOne(instance, shop.p, 1), 1);
    EXPECT_EQ(CzmiSetVarLOne(instance, shop.need, 20), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 29, 1e-9) << solver << ": not updated";
    EXPECT_EQ(CzmiAltRHSSet(instance, 0), 1);
    instance.updateLinear();
    EXPECT_EQ(CzmiAltRHSSet(instance, 1), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_NEAR(zkitObjective(instance), 25, 1e-9) << solver;
    EXPECT_EQ(CzmiAltRHSSet(instance, 0), 1);
    EXPECT_EQ(CzmiForceLinearSet(instance, 0), 1);
    std::array<char, ZKIT_TEXT_SIZE> message{};
    ASSERT_EQ(zkitSolve(instance, solver, message.data(), ZKIT_TEXT_SIZE), 1) << message.data();
    EXPECT_NEAR(zkitObjective(instance), 25, 1e-9) << solver << ": by itself";
  }
}

TEST(KitSolution, IntegerColumns_AreIntegerUnlessRelaxed) {
  const Shop shop(true);
  for (const char* solver : solversFor(ZKIT_MIP)) {
    const Instance instance(shop.model);
    EXPECT_EQ(CzmiModelType(instance), ZKIT_MIP);
    EXPECT_EQ(CzmiSetVarLOne(instance, shop.need, 8.5), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_INTEGER_SOLUTION) << solver;
    EXPECT_NEAR(CzmiGetVarLOne(instance, shop.b), 3, 1e-7) << solver;
    EXPECT_NEAR(zkitObjective(instance), 5 + 11 + 9, 1e-7) << solver;
    EXPECT_EQ(zkitSetModelType(instance, ZKIT_RMIP), 1);
    ASSERT_EQ(instance.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL) << solver;
    EXPECT_NEAR(CzmiGetVarLOne(instance, shop.b), 2.5, 1e-7) << solver;
  }
}

TEST(KitSolution, MarginalsOfParameters_AreTheSlopesOfTheObjective) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
      const RandomModel random(seed, seed % 2 == 0 ? 1 : -1);
      const Instance instance(random.model);
      ASSERT_EQ(instance.solve(solver), "");
      ASSERT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
      std::vector<double> marginals(static_cast<std::size_t>(CzmiN(instance)));
      ASSERT_EQ(CzmiGetVarM(instance, marginals.data()), 1);
      for (const int parameter : random.parameters) {
        const double level = CzmiGetVarLOne(instance, parameter);
        const auto objectiveAt = [&](double moved) {
          EXPECT_EQ(CzmiSetVarLOne(instance, parameter, moved), 1);
          EXPECT_EQ(instance.solve(solver), "");
          return zkitObjective(instance);
        };
        constexpr double step = 1e-5;
        const double slope = (objectiveAt(level + step) - objectiveAt(level - step)) / (2 * step);
        EXPECT_NEAR(marginals[static_cast<std::size_t>(parameter)], slope, 1e-4)
            << solver << " seed " << seed << " parameter " << parameter;
        objectiveAt(level);
      }
    }
  }
}

TEST(KitSolution, Unsolvable_LeavesLevelsAndSaysWhatIsKnown) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const Shop shop;
    const Instance instance(shop.model);
    EXPECT_EQ(CzmiAltBoundsSet(instance, 1), 1);
    EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop.b, 2), 1);
    EXPECT_EQ(instance.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_INFEASIBLE) << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED) << solver;
    EXPECT_EQ(CzmiGetVarLOne(instance, shop.a), 1.5) << solver;
    EXPECT_EQ(CzmiSetVarLOne(instance, shop.p, kInf), 1);
    EXPECT_NE(instance.solve(solver), "") << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_SETUP_FAILED) << solver;
    EXPECT_EQ(CzmiSetVarLOne(instance, shop.p, 3), 1);
    EXPECT_EQ(CzmiAltBoundsSet(instance, 0), 1);
    EXPECT_EQ(instance.solve(solver), "") << solver;
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL) << solver;
  }
}

}  // namespace
