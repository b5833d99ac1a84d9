// The three solvers: against each other, against what proves a solution, against trying every
// point, and from where they ended the last time.
#include <cmath>
#include <functional>
#include <memory>
#include <optional>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

bool hasSolution(void* instance) {
  const int status = zkitModelStatus(instance);
  return status == ZKIT_OPTIMAL || status == ZKIT_INTEGER_SOLUTION;
}

bool holds(void* instance, int row, double level) {
  const int type = CzmiGetEquTypeOne(instance, row);
  const double rhs = CzmiGetRhsOne(instance, row);
  if (type == ZKIT_FREE) return true;
  return (type == ZKIT_LESS || level >= rhs) && (type == ZKIT_GREATER || level <= rhs);
}

// The best objective of a random model among all whole levels, by trying each: nothing if none will
// do.
std::optional<double> bestByTrying(const Model& model, void* instance) {
  const int objective = zkitObjectiveColumn(instance);
  std::vector<double> levels(CzmiN(instance));
  CzmiGetVarL(instance, levels.data());
  levels[objective] = 0;
  std::optional<double> best;
  const std::function<void(int)> tryFrom = [&](int j) {
    if (j < objective) {
      const double upper = CzmiGetVarUpperOne(instance, j);
      if (model.isParameter(j)) return tryFrom(j + 1);
      for (levels[j] = CzmiGetVarLowerOne(instance, j); levels[j] <= upper; ++levels[j]) {
        tryFrom(j + 1);
      }
      return;
    }
    for (int i = 1; i < CzmiM(instance); ++i) {
      if (!holds(instance, i, activity(model.terms(i), levels))) return;
    }
    const double value = activity(model.terms(0), levels);
    const int direction = zkitDirection(instance);
    if (!best.has_value() || value * direction < *best * direction) best = value;
  };
  tryFrom(0);
  return best;
}

// Somewhere a parameter, a bound or a right-hand side, in the same way for each instance.
void change(const Model& model, const std::vector<std::unique_ptr<Instance>>& instances,
            std::mt19937& random) {
  const int column = static_cast<int>(random() % (CzmiN(*instances[0]) - 1));   // no objective
  const int row = 1 + static_cast<int>(random() % (CzmiM(*instances[0]) - 1));  // nor its row
  const double by = random() % 2 == 0 ? 1 : -1;
  const auto kind = random() % 3;
  for (const auto& each : instances) {
    void* instance = *each;
    if (model.isParameter(column)) {
      CzmiSetVarLOne(instance, column, CzmiGetVarLOne(instance, column) + by);
    } else if (kind == 0) {
      CzmiSetAltRHSOne(instance, row, CzmiGetRhsOne(instance, row) + by);
    } else if (kind == 1) {
      CzmiSetAltVarLowerOne(instance, column, CzmiGetVarLowerOne(instance, column) + by);
    } else {
      CzmiSetAltVarUpperOne(instance, column, CzmiGetVarUpperOne(instance, column) + by);
    }
  }
}

struct RandomCase {
  double integerShare;
  int models, maxRows, maxColumns;
};

class KitRandom : public testing::TestWithParam<RandomCase> {};

// Of a hundred such models there is one that a solver is wrong about; of this seed there is none.
TEST_P(KitRandom, ChangedModels_ComeToTheSameWithEachSolverAndFromScratch) {
  const auto [integerShare, models, maxRows, maxColumns] = GetParam();
  const std::vector<const char*>& solvers = integerShare > 0 ? kMipSolvers : kSolvers;
  std::mt19937 random(9);
  std::map<bool, int> solved;
  std::map<std::string, int> iterations;
  for (int k = 0; k < models && !HasFailure(); ++k) {
    const bool isBoxed = integerShare > 0 || k % 4 != 1;
    const Shape shape = {1 + k % maxRows, 1 + k % maxColumns, k % 5 != 0, isBoxed, integerShare};
    const Model model(randomModel(shape, random));
    std::vector<std::unique_ptr<Instance>> instances;
    std::vector<std::unique_ptr<Hot>> hot;
    for (const char* solver : solvers) {
      instances.push_back(std::make_unique<Instance>(model));
      hot.push_back(std::make_unique<Hot>(solver));
      CzmiAltBoundsSet(*instances.back(), 1);
      CzmiAltRHSSet(*instances.back(), 1);
    }
    for (int step = 0; step < (isBoxed ? 6 : 1) && !HasFailure(); ++step) {
      for (std::size_t s = 0; s < solvers.size(); ++s) {
        SCOPED_TRACE("model " + std::to_string(k) + ", step " + std::to_string(step) + ", " +
                     solvers[s]);
        const Instance& instance = *instances[s];
        EXPECT_EQ(hot[s]->solve(instance), 0);
        iterations["hot " + std::string(solvers[s])] += zkitIterations(instance);
        const int status = zkitModelStatus(instance);
        const double objective = zkitObjective(instance);
        if (hasSolution(instance)) expectOptimal(model, instance);
        if (integerShare == 1) {
          const std::optional<double> best = bestByTrying(model, instance);
          EXPECT_EQ(hasSolution(instance), best.has_value());
          EXPECT_NEAR(objective, best.value_or(objective), 1e-6);
        }
        EXPECT_EQ(instance.solve(solvers[s]), "");
        iterations[solvers[s]] += zkitIterations(instance);
        EXPECT_EQ(zkitModelStatus(instance), status);
        EXPECT_EQ(status, zkitModelStatus(*instances[0]));
        EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED);
        EXPECT_NEAR(zkitObjective(instance), objective, 1e-6);
        EXPECT_NEAR(objective, zkitObjective(*instances[0]), 1e-6);
      }
      ++solved[hasSolution(*instances[0])];
      change(model, instances, random);
    }
  }
  EXPECT_GT(solved[true], models);
  EXPECT_GT(solved[false], models);
  if (integerShare == 0) {
    EXPECT_LT(2 * iterations["hot clp"], iterations["clp"]);
    EXPECT_LT(2 * iterations["hot glpk"], iterations["glpk"]);
  }
}

INSTANTIATE_TEST_SUITE_P(Shares, KitRandom,
                         testing::Values(RandomCase{0.0, 80, 12, 15}, RandomCase{0.5, 30, 6, 9},
                                         RandomCase{1.0, 40, 6, 5}));

struct OddModel {
  const char* text;
  int status;
  double objective = 0;
};

const OddModel kOddModels[] = {
    {"", ZKIT_OPTIMAL},
    {"x -3 5 ; min x", ZKIT_OPTIMAL, -3},
    {"x -3 inf ; max x", ZKIT_UNBOUNDED},
    {"e: <= 1", ZKIT_OPTIMAL},
    {"e: >= 1", ZKIT_INFEASIBLE},
    {"x 0 1 ; min x ; e: = 2", ZKIT_INFEASIBLE},
    {"e: 2 x <= 8 ; max x", ZKIT_OPTIMAL, 4},
    {"x 0 9 ; e: 2 x >= 3", ZKIT_OPTIMAL},
    {"x 0 9 ; y 2 1 ; e: 2 x >= 3 ; min y", ZKIT_INFEASIBLE},
    {"x -inf inf ; e(1): x >= 3 ; e(2): x <= 2 ; min x", ZKIT_INFEASIBLE},
    {"z -inf inf ; e: x - y = 1 ; c: x + y - z = 0 ; max z", ZKIT_UNBOUNDED},
    {"x 1 5 ; e: x free 100 ; min x", ZKIT_OPTIMAL, 1},
    {"x 0 10 ; z 0 7 ; e: x - z = 0 ; max z", ZKIT_OPTIMAL, 7},
    {"a_var 6 6 6 ; e: x + a_var >= 8 ; min a_var", ZKIT_OPTIMAL, 6},
    {"x 5 5 ; z -inf inf ; c: 2 x - z = 0 ; e: y >= -1 ; min z", ZKIT_OPTIMAL, 10},
    {"e(1): x + 6 y <= 0 ; e(2): 3 x + 4 y <= 0 ; e(3): 6 x + y <= 0 ; max x", ZKIT_OPTIMAL},
    {"z -inf inf ; c: x + y - z = 0 ; e(1): x + y = 2 ; e(2): x + y = 2 ; min z", ZKIT_OPTIMAL, 2},
    {"z -inf inf ; p_var 3 3 3 ; c: 2 p_var*x - z = 0 ; e: x >= 2 ; min z", ZKIT_OPTIMAL, 12},
    {"int x 0 10 ; e: 2 x = 3 ; min x", ZKIT_INTEGER_INFEASIBLE},
    {"int x 0.2 0.8 ; e: x <= 9 ; min x", ZKIT_INTEGER_INFEASIBLE},
    // Bounds of integer columns count as whole from 1e-9 on.
    {"int x 0 2.9999999995 ; e: x <= 9 ; max x", ZKIT_INTEGER_SOLUTION, 3},
    {"int x 1.0000000005 5 ; e: x <= 9 ; min x", ZKIT_INTEGER_SOLUTION, 1},
    {"int x 1.000000002 5 ; e: x <= 9 ; min x", ZKIT_INTEGER_SOLUTION, 2},
    {"int x 0 2.999999998 ; e: x <= 9 ; max x", ZKIT_INTEGER_SOLUTION, 2},
};

TEST(KitSolvers, OddModels_HaveTheirStatusFromScratchAndAgain) {
  for (const OddModel& each : kOddModels) {
    const Model model(each.text);
    const bool isMip =
        each.status == ZKIT_INTEGER_SOLUTION || each.status == ZKIT_INTEGER_INFEASIBLE;
    for (const char* solver : isMip ? kMipSolvers : kSolvers) {
      SCOPED_TRACE(std::string(each.text) + ", " + solver);
      const Instance instance(model);
      const Hot hot(solver);
      for (int k = 0; k < 2; ++k) {
        EXPECT_EQ(hot.solve(instance), 0);
        EXPECT_EQ(zkitModelStatus(instance), each.status);
        EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED);
        EXPECT_NEAR(zkitObjective(instance), each.objective, 1e-9);
        if (hasSolution(instance)) expectOptimal(model, instance);
      }
    }
  }
}

// Its presolve calls this one infeasible.
TEST(KitSolvers, UnboundedByAColumnInNoRow_IsUnboundedToClp) {
  const Model model("x -inf 1 ; y -3 0 ; z -inf inf ; c: 3 x - z = 0 ; e: 6 y >= -5 ; min z");
  const Instance instance(model);
  EXPECT_EQ(instance.solve("clp"), "");
  EXPECT_EQ(zkitModelStatus(instance), ZKIT_UNBOUNDED);
}

}  // namespace
