// The three solvers, against each other and against what proves a solution.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <optional>

#include "companions/kit_solving.h"
#include "kit/session.h"
#include "zkitdclib.h"

namespace zkittest {

namespace {

using zkit::EqualRow;
using zkit::FreeRow;
using zkit::GreaterRow;
using zkit::Instance;
using zkit::LessRow;
using zkit::Session;

// Solves with each solver; all must come to the same.
void expectAgreement(const ModelUnderTest& model, const std::string& what, int& optimal) {
  std::optional<int> status;
  double objective = 0.0;
  for (const zkit::Engine* engine : engines()) {
    Instance instance(model.data(), kNoDirectory);
    Session session(*engine);
    session.load(instance);
    session.solve(instance);
    const std::string name = what + " " + engine->name;
    EXPECT_EQ(instance.solveStatus, ZKIT_COMPLETED) << name;
    EXPECT_EQ(instance.modelStatus, status.value_or(instance.modelStatus)) << name;
    if (instance.modelStatus != ZKIT_OPTIMAL) continue;
    expectOptimal(instance, name);
    if (status.has_value()) {
      EXPECT_NEAR(objectiveOf(instance), objective, 1e-6) << name;
    }
    status = instance.modelStatus;
    objective = objectiveOf(instance);
    if (engine == engines().front()) ++optimal;
  }
}

TEST(KitSolvers, AgreeOnRandomModelsAndProveTheirSolutions) {
  std::mt19937 random(20240611);
  int optimal = 0;
  for (int k = 0; k < 150 && !HasFailure(); ++k) {
    RandomShape shape;
    shape.rows = 1 + k % 12;
    shape.columns = 1 + k % 15;
    shape.isFeasible = k % 3 != 0;
    shape.isBoxed = k % 2 == 0;
    expectAgreement(randomModel(shape, random), "model " + std::to_string(k), optimal);
  }
  EXPECT_GT(optimal, 60) << "too few of the models have a solution for the test to say much";
}

// What is best among all integer points, by trying each: nothing for an infeasible model.
std::optional<double> bestByTrying(const Instance& instance) {
  std::vector<int> columns;
  for (int j = 0; j < instance.columnCount(); ++j) {
    if (j != instance.objective) columns.push_back(j);
  }
  const int costRow = instance.matrix.rows[instance.matrix.starts[instance.objective]];
  std::optional<double> best;
  std::vector<double> activity(instance.rows.size());
  const std::function<void(std::size_t)> tryFrom = [&](std::size_t k) {
    if (k == columns.size()) {
      for (int i = 0; i < instance.rowCount(); ++i) {
        const zkit::RowState& row = instance.rows[i];
        if (i == costRow) continue;
        if (row.type != LessRow && row.type != FreeRow && activity[i] < row.rhs) return;
        if (row.type != GreaterRow && row.type != FreeRow && activity[i] > row.rhs) return;
      }
      const double value = activity[costRow] + instance.constants[costRow];
      if (!best.has_value() || value * instance.direction < *best * instance.direction)
        best = value;
      return;
    }
    const int j = columns[k];
    const auto add = [&](double level) {
      for (int place = instance.matrix.starts[j]; place < instance.matrix.starts[j + 1]; ++place) {
        activity[instance.matrix.rows[place]] += instance.matrix.values[place] * level;
      }
    };
    for (double level = instance.columns[j].lower; level <= instance.columns[j].upper; ++level) {
      add(level);
      tryFrom(k + 1);
      add(-level);
    }
  };
  tryFrom(0);
  return best;
}

TEST(KitSolvers, FindTheBestIntegerPoint) {
  std::mt19937 random(77);
  int solved = 0;
  for (int k = 0; k < 60 && !HasFailure(); ++k) {
    RandomShape shape;
    shape.rows = 1 + k % 6;
    shape.isFeasible = k % 2 == 0;
    shape.isBoxed = true;
    shape.integerShare = 1.0;
    const ModelUnderTest model = randomModel(shape, random);
    const std::optional<double> best = bestByTrying(Instance(model.data(), kNoDirectory));
    for (const zkit::Engine* engine : engines(true)) {
      Instance instance(model.data(), kNoDirectory);
      Session session(*engine);
      session.solve(instance);
      const std::string name = "model " + std::to_string(k) + " " + engine->name;
      ASSERT_EQ(instance.modelStatus == ZKIT_INTEGER_SOLUTION, best.has_value()) << name;
      if (!best.has_value()) {
        const bool isRelaxed = instance.modelStatus == ZKIT_INTEGER_INFEASIBLE;
        EXPECT_TRUE(isRelaxed || instance.modelStatus == ZKIT_INFEASIBLE) << name;
        continue;
      }
      ++solved;
      EXPECT_NEAR(objectiveOf(instance), *best, 1e-6) << name;
      expectOptimal(instance, name);
    }
  }
  EXPECT_GT(solved, 60);
}

TEST(KitSolvers, AgreeOnModelsWithSomeIntegerColumns) {
  std::mt19937 random(5);
  for (int k = 0; k < 40 && !HasFailure(); ++k) {
    RandomShape shape;
    shape.rows = 3 + k % 8;
    shape.columns = 4 + k % 9;
    shape.isBoxed = k % 2 == 0;
    shape.integerShare = 0.5;
    const ModelUnderTest model = randomModel(shape, random);
    std::vector<int> statuses;
    std::vector<double> objectives;
    for (const zkit::Engine* engine : engines(true)) {
      Instance instance(model.data(), kNoDirectory);
      Session session(*engine);
      session.solve(instance);
      statuses.push_back(instance.modelStatus);
      objectives.push_back(objectiveOf(instance));
      if (statuses.back() == ZKIT_INTEGER_SOLUTION) expectOptimal(instance, engine->name);
    }
    EXPECT_EQ(statuses[0], statuses[1]) << "model " << k;
    EXPECT_NEAR(objectives[0], objectives[1], 1e-6) << "model " << k;
  }
}

struct Case {
  const char* name;
  int modelStatus;
  double objective;
  std::function<void(ModelUnderTest&)> make;
};

const Case kCases[] = {
    {"nothing at all", ZKIT_OPTIMAL, 0.0, [](ModelUnderTest&) {}},
    {"no rows", ZKIT_OPTIMAL, -3.0, [](ModelUnderTest& m) { m.optimise(m.addColumn(-3, 5), 1); }},
    {"no rows, unbounded", ZKIT_UNBOUNDED, 0.0,
     [](ModelUnderTest& m) { m.optimise(m.addColumn(-3, kInfinity), -1); }},
    {"no columns", ZKIT_OPTIMAL, 0.0, [](ModelUnderTest& m) { m.addRow(LessRow, 1); }},
    {"no columns, infeasible", ZKIT_INFEASIBLE, 0.0,
     [](ModelUnderTest& m) { m.addRow(GreaterRow, 1); }},
    {"a row without entries", ZKIT_INFEASIBLE, 0.0,
     [](ModelUnderTest& m) {
       m.optimise(m.addColumn(0, 1), 1);
       m.addRow(EqualRow, 2);
     }},
    {"one row", ZKIT_OPTIMAL, 4.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(0, kInfinity);
       m.set(m.addRow(LessRow, 8), x, 2);
       m.optimise(x, -1);
     }},
    {"feasibility only", ZKIT_OPTIMAL, 0.0,
     [](ModelUnderTest& m) { m.set(m.addRow(GreaterRow, 3), m.addColumn(0, 9), 2); }},
    {"bounds that exclude each other", ZKIT_INFEASIBLE, 0.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(0, 9);
       m.set(m.addRow(GreaterRow, 3), x, 2);
       m.optimise(m.addColumn(2, 1), 1);
     }},
    {"rows that exclude each other", ZKIT_INFEASIBLE, 0.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(-kInfinity, kInfinity);
       m.set(m.addRow(GreaterRow, 3), x, 1);
       m.set(m.addRow(LessRow, 2), x, 1);
       m.optimise(x, 1);
     }},
    {"unbounded along a ray", ZKIT_UNBOUNDED, 0.0,
     [](ModelUnderTest& m) {
       const int row = m.addRow(EqualRow, 1);
       const int cost = m.addObjective(-1);
       for (const double sign : {1.0, -1.0}) {
         const int x = m.addColumn(0, kInfinity);
         m.set(row, x, sign);
         m.set(cost, x, 1);
       }
     }},
    {"a free row does not count", ZKIT_OPTIMAL, 1.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(1, 5);
       m.set(m.addRow(FreeRow, 100), x, 1);
       m.optimise(x, 1);
     }},
    {"a bounded objective", ZKIT_OPTIMAL, 7.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(0, 10);
       const int z = m.addColumn(0, 7);
       const int row = m.addRow(EqualRow, 0);
       m.set(row, x, 1);
       m.set(row, z, -1);
       m.optimise(z, -1);
     }},
    {"an objective that is a parameter", ZKIT_OPTIMAL, 6.0,
     [](ModelUnderTest& m) { m.optimise(m.addParameter(6), 1); }},
    {"a fixed column", ZKIT_OPTIMAL, 10.0,
     [](ModelUnderTest& m) {
       const int cost = m.addObjective(1);
       m.set(cost, m.addColumn(5, 5), 2);
       m.set(m.addRow(GreaterRow, -1), m.addColumn(0, 1), 1);
     }},
    {"degenerate: all meet in one corner", ZKIT_OPTIMAL, 0.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(0, kInfinity);
       const int y = m.addColumn(0, kInfinity);
       for (int k = 1; k <= 6; ++k) {
         const int row = m.addRow(LessRow, 0);
         m.set(row, x, k);
         m.set(row, y, 7 - k);
       }
       m.optimise(x, -1);
     }},
    {"the same row again and again", ZKIT_OPTIMAL, 2.0,
     [](ModelUnderTest& m) {
       const int x = m.addColumn(0, kInfinity);
       const int y = m.addColumn(0, kInfinity);
       const int cost = m.addObjective(1);
       m.set(cost, x, 1);
       m.set(cost, y, 1);
       for (int k = 0; k < 5; ++k) {
         const int row = m.addRow(EqualRow, 2);
         m.set(row, x, 1);
         m.set(row, y, 1);
       }
     }},
    {"a product at the parameter's level", ZKIT_OPTIMAL, 12.0,
     [](ModelUnderTest& m) {
       const int cost = m.addObjective(1);
       const int x = m.addColumn(0, kInfinity);
       m.setProduct(cost, m.addParameter(3), x, 2);
       m.set(m.addRow(GreaterRow, 2), x, 1);
     }},
};

TEST(KitSolvers, TellWhatIsWrongWithModelsThatAreOdd) {
  for (const Case& each : kCases) {
    ModelUnderTest model;
    each.make(model);
    for (const zkit::Engine* engine : engines()) {
      Instance instance(model.data(), kNoDirectory);
      Session session(*engine);
      for (int k = 0; k < 2; ++k) {  // from scratch, then from where that ended
        session.solve(instance);
        const std::string name = std::string(each.name) + ", " + engine->name;
        EXPECT_EQ(instance.modelStatus, each.modelStatus) << name << " " << instance.message;
        EXPECT_EQ(instance.solveStatus, ZKIT_COMPLETED) << name;
        if (each.modelStatus != ZKIT_OPTIMAL) continue;
        EXPECT_NEAR(objectiveOf(instance), each.objective, 1e-9) << name;
        expectOptimal(instance, name);
      }
    }
  }
}

TEST(KitSolvers, TellIntegerInfeasibleModelsApart) {
  ModelUnderTest model;
  const int x = model.addColumn(0, 10, true);
  model.set(model.addRow(EqualRow, 3), x, 2);
  model.optimise(x, 1);
  for (const zkit::Engine* engine : engines(true)) {
    Instance instance(model.data(), kNoDirectory);
    Session session(*engine);
    session.solve(instance);
    EXPECT_EQ(instance.modelStatus, ZKIT_INTEGER_INFEASIBLE) << engine->name;
    instance.type = zkit::RmipModel;
    session.solve(instance);
    EXPECT_EQ(instance.modelStatus, ZKIT_OPTIMAL) << engine->name;
    EXPECT_NEAR(instance.columns[x].level, 1.5, 1e-9) << engine->name;
  }
  Instance refused(model.data(), kNoDirectory);
  Session clp(*zkit::findEngine("clp"));
  EXPECT_THROW(clp.load(refused), zkit::KitError);
}

TEST(KitSolvers, RefuseNumbersThatAreNone) {
  for (const zkit::Engine* engine : engines()) {
    ModelUnderTest model;
    const int cost = model.addObjective(1);
    const int x = model.addColumn(1, 5);
    const int p = model.addParameter(1);
    model.setProduct(cost, p, x, 1);
    model.set(model.addRow(LessRow, 4), x, 1);
    Instance instance(model.data(), kNoDirectory);
    Session session(*engine);
    for (const double level : {kInfinity, std::nan(""), 2.0}) {
      instance.columns[p].level = level;
      session.solve(instance);
      const bool isGood = std::isfinite(level);
      EXPECT_EQ(instance.solveStatus, isGood ? ZKIT_COMPLETED : ZKIT_SETUP_FAILED) << engine->name;
      EXPECT_EQ(instance.message.empty(), isGood) << engine->name;
    }
    EXPECT_NEAR(objectiveOf(instance), 2.0, 1e-9) << engine->name;
  }
}

}  // namespace

}  // namespace zkittest
