#include "companions/kit_solving.h"

#include <gtest/gtest.h>

#include <cmath>

// Presolving, CoinUtils 2.11 loses an array of no elements.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak sanitizer looks for this name.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:presolve_dupmajor";
}

namespace zkittest {

using zkit::EqualRow;
using zkit::GreaterRow;
using zkit::Instance;
using zkit::LessRow;

ModelUnderTest::ModelUnderTest()
    : variables_(builder_->addSymbol("x", zkit::VariableSymbol, 1, "", 0)),
      parameters_(builder_->addSymbol("p_var", zkit::VariableSymbol, 1, "", 0)),
      equations_(builder_->addSymbol("e", zkit::EquationSymbol, 1, "", 0)) {}

int ModelUnderTest::addColumn(double lower, double upper, bool isInteger) {
  const std::string label = nextLabel();
  const char* labels[] = {label.c_str()};
  const int column = builder_->addColumn(variables_, labels, lower, upper, 0.0);
  builder_->setInteger(column, isInteger);
  return column;
}

int ModelUnderTest::addParameter(double level) {
  const std::string label = nextLabel();
  const char* labels[] = {label.c_str()};
  return builder_->addColumn(parameters_, labels, -kInfinity, kInfinity, level);
}

int ModelUnderTest::addRow(int type, double rhs) {
  const std::string label = nextLabel();
  const char* labels[] = {label.c_str()};
  return builder_->addRow(equations_, labels, type, rhs);
}

int ModelUnderTest::addObjective(int direction) {
  const int column = addColumn(-kInfinity, kInfinity);
  const int row = addRow(EqualRow, 0.0);
  set(row, column, -1.0);
  optimise(column, direction);
  return row;
}

namespace {

// Whole numbers, among which ties and degenerate corners are common.
int whole(std::mt19937& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

bool happens(std::mt19937& random, double chance) {
  return std::uniform_real_distribution<double>(0.0, 1.0)(random) < chance;
}

// A column whose bounds allow `level`.
int addRandomColumn(ModelUnderTest& model, const RandomShape& shape, int level,
                    std::mt19937& random) {
  double lower = level - whole(random, 0, 3);
  double upper = level + whole(random, 0, 3);
  if (!shape.isBoxed) {
    if (happens(random, 0.3)) lower = -kInfinity;
    if (happens(random, 0.5)) upper = kInfinity;
  }
  return model.addColumn(lower, upper, happens(random, shape.integerShare));
}

void addRandomRow(ModelUnderTest& model, const RandomShape& shape, const std::vector<int>& columns,
                  const std::vector<int>& levels, std::mt19937& random) {
  std::vector<int> coefficients(columns.size(), 0);
  int activity = 0;
  for (std::size_t j = 0; j < columns.size(); ++j) {
    if (!happens(random, shape.share)) continue;
    coefficients[j] = whole(random, -4, 4);
    activity += coefficients[j] * levels[j];
  }
  const int type = whole(random, 0, 9) % 4;
  const int slack = type == EqualRow ? 0 : whole(random, 0, 4);
  int rhs = type == GreaterRow ? activity - slack : activity + slack;
  if (!shape.isFeasible) rhs = whole(random, -20, 20);
  const int row = model.addRow(type, rhs);
  for (std::size_t j = 0; j < columns.size(); ++j) {
    if (coefficients[j] != 0) model.set(row, columns[j], coefficients[j]);
  }
}

// `marginal` turned so that the model is one to be minimised: positive needs a lower bound that
// binds, negative an upper one.
void expectSign(double marginal, double level, double lower, double upper,
                const std::string& what) {
  const double slack = kTolerance * std::max(1.0, std::abs(level));
  if (marginal > kTolerance) {
    EXPECT_LE(level, lower + slack) << what << ": " << marginal;
  }
  if (marginal < -kTolerance) {
    EXPECT_GE(level, upper - slack) << what << ": " << marginal;
  }
}

void expectBetween(double level, double lower, double upper, const std::string& what) {
  const double slack = kTolerance * std::max(1.0, std::abs(level));
  EXPECT_GE(level, lower - slack) << what;
  EXPECT_LE(level, upper + slack) << what;
}

void expectRows(const Instance& instance, const std::string& what) {
  std::vector<double> activity = instance.constants;
  const zkit::Matrix& matrix = instance.matrix;
  for (int j = 0; j < instance.columnCount(); ++j) {
    for (int place = matrix.starts[j]; place < matrix.starts[j + 1]; ++place) {
      activity[matrix.rows[place]] += matrix.values[place] * instance.columns[j].level;
    }
  }
  for (int i = 0; i < instance.rowCount(); ++i) {
    const zkit::RowState& row = instance.rows[i];
    const std::string name = what + ", " + instance.dictionary.rowName(i);
    EXPECT_NEAR(row.level, activity[i], kTolerance * std::max(1.0, std::abs(row.level))) << name;
    const bool hasLower = row.type == EqualRow || row.type == GreaterRow;
    const bool hasUpper = row.type == EqualRow || row.type == LessRow;
    const double lower = hasLower ? row.rhs : -kInfinity;
    const double upper = hasUpper ? row.rhs : kInfinity;
    expectBetween(row.level, lower, upper, name);
    expectSign(row.marginal * instance.direction, row.level, lower, upper, name);
  }
}

void expectColumns(const Instance& instance, const std::string& what) {
  const zkit::Matrix& matrix = instance.matrix;
  for (int j = 0; j < instance.columnCount(); ++j) {
    if (instance.isParameter[j] != 0) continue;
    const zkit::ColumnState& column = instance.columns[j];
    const std::string name = what + ", " + instance.dictionary.columnName(j);
    double reduced = j == instance.objective ? 1.0 : 0.0;
    for (int place = matrix.starts[j]; place < matrix.starts[j + 1]; ++place) {
      reduced -= matrix.values[place] * instance.rows[matrix.rows[place]].marginal;
    }
    EXPECT_NEAR(column.marginal, reduced, kTolerance * std::max(1.0, std::abs(reduced))) << name;
    expectBetween(column.level, column.lower, column.upper, name);
    if (instance.isInteger[j] != 0 && instance.isSolvedAsInteger()) {
      EXPECT_NEAR(column.level, std::round(column.level), kTolerance) << name;
    } else {
      expectSign(column.marginal * instance.direction, column.level, column.lower, column.upper,
                 name);
    }
  }
}

}  // namespace

ModelUnderTest randomModel(const RandomShape& shape, std::mt19937& random) {
  ModelUnderTest model;
  std::vector<int> columns;
  std::vector<int> levels;
  for (int j = 0; j < shape.columns; ++j) {
    levels.push_back(whole(random, -3, 3));
    columns.push_back(addRandomColumn(model, shape, levels.back(), random));
  }
  const int cost = model.addObjective(whole(random, 0, 1) == 0 ? 1 : -1);
  for (const int column : columns) {
    const int value = whole(random, -5, 5);
    if (value != 0) model.set(cost, column, value);
  }
  model.setConstant(cost, whole(random, -5, 5));
  for (int i = 0; i < shape.rows; ++i) addRandomRow(model, shape, columns, levels, random);
  return model;
}

void expectOptimal(const Instance& instance, const std::string& what) {
  expectRows(instance, what);
  expectColumns(instance, what);
}

double objectiveOf(const Instance& instance) {
  return instance.objective < 0 ? 0.0 : instance.columns[instance.objective].level;
}

std::vector<const zkit::Engine*> engines(bool mustSolveMip) {
  std::vector<const zkit::Engine*> found;
  for (const char* name : {"clp", "cbc", "glpk"}) {
    const zkit::Engine* engine = zkit::findEngine(name);
    if (engine == nullptr || engine->make == nullptr) continue;
    if (engine->solvesMip || !mustSolveMip) found.push_back(engine);
  }
  EXPECT_EQ(found.size(), mustSolveMip ? 2U : 3U) << "a solver is missing in this build";
  return found;
}

}  // namespace zkittest
