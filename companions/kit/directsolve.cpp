#include "kit/directsolve.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "kit/bounds.h"
#include "kit/error.h"

namespace zdb::kit {

namespace {

constexpr double kTolerance = 1e-9;  // relative, for rows that are constants

bool areFinite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

bool areFinite(const std::vector<double>& values, const std::vector<int>& places) {
  return std::all_of(places.begin(), places.end(), [&](int k) { return std::isfinite(values[k]); });
}

bool isTooLarge(double bound) {
  return std::isfinite(bound) && std::abs(bound) >= kLimitOfNumbers;
}

// Those that leave room only beyond what the solver takes for infinite are a limit earlier: models
// often have large ones on the other side for none at all.
void refuseLarge(double lower, double upper, const Engine& engine) {
  if (isTooLarge(lower) || isTooLarge(upper)) {
    throw KitError("A bound or right-hand side is " + shown(isTooLarge(lower) ? lower : upper) +
                   ": finite ones must be less than 1e100 in magnitude");
  }
  const bool isLowerFar = std::isfinite(lower) && lower >= engine.farthestLevel;
  const bool isUpperFar = std::isfinite(upper) && upper <= -engine.farthestLevel;
  if (!isLowerFar && !isUpperFar) return;
  throw KitError("A bound or right-hand side is " + shown(isLowerFar ? lower : upper) + ": for " +
                 engine.name + ", levels must be less than " + shown(engine.farthestLevel) +
                 " in magnitude");
}

// An infinite bound is one on its own side only; NaN is none.
bool areBounds(double lower, double upper, const Engine& engine) {
  refuseLarge(lower, upper, engine);
  return lower < INFINITY && upper > -INFINITY;
}

bool areBounds(const std::vector<double>& lower, const std::vector<double>& upper,
               const Engine& engine) {
  for (std::size_t k = 0; k < lower.size(); ++k) {
    if (!areBounds(lower[k], upper[k], engine)) return false;
  }
  return true;
}

bool areBounds(const std::vector<double>& lower, const std::vector<double>& upper,
               const std::vector<int>& places, const Engine& engine) {
  return std::all_of(places.begin(), places.end(),
                     [&](int k) { return areBounds(lower[k], upper[k], engine); });
}

void require(bool areUsable) {
  if (areUsable) return;
  throw KitError("A parameter or bound is infinite or not a number: the model cannot be solved");
}

bool isBetween(double value, double lower, double upper) {
  const double slack = kTolerance * std::max(1.0, std::abs(value));
  return value >= lower - slack && value <= upper + slack;
}

// Of bounds that exclude each other; those of integer columns may do so only as integers.
std::optional<Outcome> checkBounds(const LinearModel& model) {
  std::optional<Outcome> outcome;
  for (std::size_t k = 0; k < model.lower.size(); ++k) {
    if (model.lower[k] <= model.upper[k]) continue;
    const bool isInteger = !model.isInteger.empty() && model.isInteger[k] != 0;
    if (!isInteger) return Outcome::Infeasible;
    outcome = Outcome::IntegerInfeasible;
  }
  return outcome;
}

// Nothing stands on the left-hand sides.
bool areRowsFeasible(const LinearModel& model) {
  for (std::size_t i = 0; i < model.rowLower.size(); ++i) {
    if (!isBetween(0.0, model.rowLower[i], model.rowUpper[i])) return false;
  }
  return true;
}

// Each column by itself: at the bound where it costs least. Costs of 0 leave it next to 0.
Outcome solveColumns(const LinearModel& model, Solution& solution) {
  bool isUnbounded = false;
  for (std::size_t j = 0; j < model.lower.size(); ++j) {
    const double lower = model.lower[j];
    const double upper = model.upper[j];
    const double cost = model.cost[j];
    const double best = cost > 0.0 ? lower : upper;
    const double level = cost == 0.0 ? std::clamp(0.0, lower, upper) : best;
    isUnbounded = isUnbounded || std::isinf(level);
    solution.level[j] = level;
    solution.marginal[j] = cost;
    const bool isAtNeither = level != lower && level != upper;
    solution.basis[j] = isAtNeither ? SuperBasic : level == lower ? AtLower : AtUpper;
  }
  if (isUnbounded) return Outcome::Unbounded;
  solution.hasLevels = true;
  return Outcome::Optimal;
}

}  // namespace

void checkNumbers(const LinearModel& model, const Engine& engine) {
  require(areFinite(model.cost) && areFinite(model.values) &&
          areBounds(model.lower, model.upper, engine) &&
          areBounds(model.rowLower, model.rowUpper, engine));
}

void checkNumbers(const LinearModel& model, const Changes& changes, const Engine& engine) {
  require(areFinite(model.cost, changes.costs) && areFinite(model.values, changes.places) &&
          areBounds(model.lower, model.upper, changes.columns, engine) &&
          areBounds(model.rowLower, model.rowUpper, changes.rows, engine));
}

bool hasExcludingBounds(const LinearModel& model) {
  return checkBounds(model).has_value();
}

bool hasExcludingBounds(const LinearModel& model, const Changes& changes) {
  return std::any_of(changes.columns.begin(), changes.columns.end(),
                     [&](int j) { return model.lower[j] > model.upper[j]; });
}

std::optional<Outcome> solveDirectly(const LinearModel& model, bool areBoundsExcluding,
                                     Solution& solution) {
  if (areBoundsExcluding) return checkBounds(model);
  const bool isEmpty = std::all_of(model.values.begin(), model.values.end(),
                                   [](double value) { return value == 0.0; });
  if (!isEmpty) return {};
  solution.resize(model.columnCount(), model.rowCount());
  return areRowsFeasible(model) ? solveColumns(model, solution) : Outcome::Infeasible;
}

}  // namespace zdb::kit
