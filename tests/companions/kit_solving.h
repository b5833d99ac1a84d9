// Models for the tests of solvers, and a check of what comes back.
#pragma once

#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kit/instance.h"
#include "kit/model.h"
#include "kit/solver.h"

namespace zkittest {

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kTolerance = 1e-6;

// A model without names that matter: columns x(1), x(2), ..., parameters p_var(1), ..., rows e(1),
// ...
class ModelUnderTest {
 public:
  ModelUnderTest();

  int addColumn(double lower, double upper, bool isInteger = false);
  int addParameter(double level);
  int addRow(int type, double rhs);
  void set(int row, int column, double value) { builder_->addCoefficient(row, column, value); }
  void setProduct(int row, int a, int b, double value) { builder_->addProduct(row, a, b, value); }
  void setConstant(int row, double value) { builder_->addConstant(row, value); }
  void optimise(int column, int direction) { builder_->setObjective(column, direction); }
  // A free column, and the row that makes it the cost of all that `set` gives this row.
  int addObjective(int direction);

  const zkit::ModelData& data() const { return builder_->data(); }

 private:
  std::string nextLabel() { return std::to_string(++labels_); }

  std::unique_ptr<zkit::ModelBuilder> builder_ = std::make_unique<zkit::ModelBuilder>("test");
  int variables_;
  int parameters_;
  int equations_;
  int labels_ = 0;
};

// The solvers of this build; a test fails when one is missing.
std::vector<const zkit::Engine*> engines(bool mustSolveMip = false);

// What a random model is made of.
struct RandomShape {
  int rows = 5;
  int columns = 5;
  double share = 0.6;      // of coefficients that are not 0
  bool isFeasible = true;  // by construction
  bool isBoxed = false;    // all bounds finite
  double integerShare = 0.0;
};

ModelUnderTest randomModel(const RandomShape& shape, std::mt19937& random);

// The instance's directory is never read here.
inline constexpr char kNoDirectory[] = "nowhere";

// Fails unless levels and marginals of an instance prove each other optimal: rows and bounds hold,
// every column's marginal is its cost less what the rows' marginals account for, no marginal has
// the wrong sign for the bound that it is at, and none is at a bound that does not bind. Integer
// columns count as fixed at their levels, which must be integer. Changed bounds and right-hand
// sides must be the instance's own, not alternative ones.
void expectOptimal(const zkit::Instance& instance, const std::string& what);

double objectiveOf(const zkit::Instance& instance);

}  // namespace zkittest
