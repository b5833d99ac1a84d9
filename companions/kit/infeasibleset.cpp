#include "kit/infeasibleset.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "kit/directsolve.h"
#include "kit/error.h"
#include "kit/instance.h"
#include "kit/linearform.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kFeasibility = 1e-9;  // of rows that are constants
constexpr double kLeastDual = 1e-9;    // of rows whose violation costs 1 per unit

// One side of a row or of a column's bounds, numbered as in a linear model.
struct ModelSide {
  bool isColumn;
  int number;
  Side side;
};

double& boundOf(LinearModel& model, const ModelSide& side) {
  const bool isLower = side.side == LowerSide;
  if (side.isColumn) return (isLower ? model.lower : model.upper)[side.number];
  return (isLower ? model.rowLower : model.rowUpper)[side.number];
}

// A solver for the models below: from the last basis.
const Engine& engineForSets() {
  for (const Engine& engine : engines()) {
    if (engine.worksInPlace && engine.isUsable()) return engine;
  }
  throw KitError("No solver that this kit can use here works in place, which this needs");
}

// Solves one model and what becomes of it when sides are taken away or put back.
class Trial {
 public:
  Trial(LinearModel model, const StopToken& stop)
      : model_(std::move(model)), stop_(stop), solver_(engineForSets().make()) {
    solution_.resize(model_.columnCount(), model_.rowCount());
    solver_->load(model_);
  }

  Outcome solve() {
    const Outcome outcome = solver_->solve(isSolved_ ? &changes_ : nullptr, stop_, solution_);
    isSolved_ = true;
    changes_.clear();
    return outcome;
  }
  // Returns what the bound was.
  double set(const ModelSide& side, double bound) {
    const double old = std::exchange(boundOf(model_, side), bound);
    (side.isColumn ? changes_.columns : changes_.rows).assign(1, side.number);
    solver_->change(model_, changes_);
    return old;
  }

  const Solution& solution() {
    if (solution_.isInSolver) solver_->fetch(solution_);
    return solution_;
  }

 private:
  LinearModel model_;
  const StopToken& stop_;
  std::unique_ptr<Solver> solver_;
  Solution solution_;
  Changes changes_;
  bool isSolved_ = false;
};

std::vector<ModelSide> allSides(LinearModel& model) {
  std::vector<ModelSide> sides;
  const auto take = [&](bool isColumn, int count) {
    for (int k = 0; k < count; ++k) {
      for (const Side side : {LowerSide, UpperSide}) {
        const ModelSide one = {isColumn, k, side};
        if (std::isfinite(boundOf(model, one))) sides.push_back(one);
      }
    }
  };
  take(false, model.rowCount());
  take(true, model.columnCount());
  return sides;
}

// What no solver is needed for: bounds that exclude each other, and rows without coefficients.
std::vector<ModelSide> plainConflict(const LinearModel& model) {
  for (int j = 0; j < model.columnCount(); ++j) {
    if (model.lower[j] > model.upper[j]) return {{true, j, LowerSide}, {true, j, UpperSide}};
  }
  std::vector<char> isEmpty(model.rowLower.size(), 1);
  for (std::size_t place = 0; place < model.rows.size(); ++place) {
    if (model.values[place] != 0.0) isEmpty[model.rows[place]] = 0;
  }
  for (int i = 0; i < model.rowCount(); ++i) {
    if (isEmpty[i] == 0) continue;
    if (model.rowLower[i] > kFeasibility) return {{false, i, LowerSide}};
    if (model.rowUpper[i] < -kFeasibility) return {{false, i, UpperSide}};
  }
  return {};
}

// Columns that make each row elastic, at a cost of 1 per unit, and no other costs.
LinearModel elastic(LinearModel model) {
  std::fill(model.cost.begin(), model.cost.end(), 0.0);
  for (int i = 0; i < model.rowCount(); ++i) {
    for (const Side side : {LowerSide, UpperSide}) {
      if (!std::isfinite(boundOf(model, {false, i, side}))) continue;
      model.rows.push_back(i);
      model.values.push_back(side == LowerSide ? 1.0 : -1.0);
      model.starts.push_back(static_cast<int>(model.rows.size()));
      model.cost.push_back(1.0);
      model.lower.push_back(0.0);
      model.upper.push_back(kInfinity);
    }
  }
  return model;
}

// The sides with a dual where violations of rows cost least: by the duals, they are infeasible.
std::vector<ModelSide> sidesWithDuals(const Solution& solution, int columns, int rows) {
  std::vector<ModelSide> sides;
  const auto take = [&](bool isColumn, int count, const std::vector<double>& duals) {
    for (int k = 0; k < count; ++k) {
      if (std::abs(duals[k]) < kLeastDual) continue;
      sides.push_back({isColumn, k, duals[k] > 0.0 ? LowerSide : UpperSide});
    }
  };
  take(false, rows, solution.rowMarginal);
  take(true, columns, solution.marginal);
  return sides;
}

// A model with some sides only, without rows and columns that these do not need.
struct Restricted {
  LinearModel model;
  std::vector<ModelSide> sides;  // with its numbers, in the order of the given ones
};

// Drops sides of columns that are in none of the rows: nothing excludes them.
Restricted restricted(LinearModel& model, std::vector<ModelSide>& sides) {
  LinearModel small;
  std::vector<int> rowNumbers(model.rowLower.size(), -1);
  for (const ModelSide& side : sides) {
    if (side.isColumn || rowNumbers[side.number] >= 0) continue;
    rowNumbers[side.number] = small.rowCount();
    small.rowLower.push_back(-kInfinity);
    small.rowUpper.push_back(kInfinity);
  }
  std::vector<int> columnNumbers(model.lower.size(), -1);
  for (int j = 0; j < model.columnCount(); ++j) {
    for (int place = model.starts[j]; place < model.starts[j + 1]; ++place) {
      if (rowNumbers[model.rows[place]] < 0) continue;
      small.rows.push_back(rowNumbers[model.rows[place]]);
      small.values.push_back(model.values[place]);
    }
    if (static_cast<int>(small.rows.size()) == small.starts.back()) continue;
    columnNumbers[j] = small.columnCount();
    small.starts.push_back(static_cast<int>(small.rows.size()));
    small.lower.push_back(-kInfinity);
    small.upper.push_back(kInfinity);
  }
  small.cost.assign(small.lower.size(), 0.0);
  std::erase_if(sides, [&](const ModelSide& side) {
    return side.isColumn && columnNumbers[side.number] < 0;
  });
  Restricted result = {std::move(small), sides};
  for (ModelSide& side : result.sides) {
    const double bound = boundOf(model, side);
    side.number = (side.isColumn ? columnNumbers : rowNumbers)[side.number];
    boundOf(result.model, side) = bound;
  }
  return result;
}

bool areInfeasible(LinearModel& model, std::vector<ModelSide> sides, const StopToken& stop) {
  const Restricted small = restricted(model, sides);
  if (small.model.rowCount() == 0 || small.model.columnCount() == 0) return false;
  return Trial(small.model, stop).solve() == Outcome::Infeasible;
}

// Takes away, one by one, the sides that are not needed: those of rows first, since a bound is
// easier to understand. Whether every side that is left is known to be needed.
bool reduce(LinearModel& model, std::vector<ModelSide>& sides, const StopToken& stop) {
  const Restricted small = restricted(model, sides);
  Trial trial(small.model, stop);
  trial.solve();
  std::vector<ModelSide> kept;
  bool isSure = true;
  for (std::size_t k = 0; k < sides.size(); ++k) {
    const ModelSide& side = small.sides[k];
    const double without = side.side == LowerSide ? -kInfinity : kInfinity;
    const double bound = trial.set(side, without);
    const Outcome outcome = stop.isStopRequested() ? stop.reason() : trial.solve();
    if (outcome == Outcome::Infeasible) continue;
    kept.push_back(sides[k]);
    trial.set(side, bound);
    isSure = isSure && outcome == Outcome::Optimal;
  }
  sides = std::move(kept);
  return isSure;
}

// Throws unless the model is known to be infeasible.
void requireInfeasible(const LinearModel& model, bool isInteger, const StopToken& stop) {
  LinearModel withoutCosts = model;
  std::fill(withoutCosts.cost.begin(), withoutCosts.cost.end(), 0.0);
  Trial trial(std::move(withoutCosts), stop);
  const Outcome outcome = stop.isStopRequested() ? stop.reason() : trial.solve();
  if (outcome == Outcome::Infeasible) return;
  if (outcome != Outcome::Optimal) {
    throw KitError("Stopped before it was known whether the model is infeasible");
  }
  throw KitError(isInteger
                     ? "With continuous columns the model is feasible: what excludes each other "
                       "are the whole numbers"
                     : "The model is feasible: no rows and bounds exclude each other");
}

struct ModelSet {
  std::vector<ModelSide> sides;
  bool isIrreducible;
};

ModelSet findIn(LinearModel& model, bool isInteger, const StopToken& stop) {
  std::vector<ModelSide> sides = plainConflict(model);
  if (!sides.empty()) return {std::move(sides), true};
  if (model.rows.empty()) throw KitError("The model is feasible: it has no coefficients");
  requireInfeasible(model, isInteger, stop);
  Trial relaxed(elastic(model), stop);
  if (relaxed.solve() == Outcome::Optimal) {
    sides = sidesWithDuals(relaxed.solution(), model.columnCount(), model.rowCount());
  }
  if (!areInfeasible(model, sides, stop)) sides = allSides(model);
  const bool isIrreducible = reduce(model, sides, stop);
  return {std::move(sides), isIrreducible};
}

void add(std::vector<Conflicting>& list, int number, Side side) {
  if (!list.empty() && list.back().number == number) {
    list.back().sides |= side;
  } else {
    list.push_back({number, side});
  }
}

}  // namespace

InfeasibleSet findInfeasibleSet(Instance& instance, double seconds) {
  const StopToken stop(instance.environment.terminate, Limits{seconds});
  const bool isByItself = !instance.view.isForcedLinear;
  if (isByItself) instance.updateLinear();
  LinearForm form(instance);
  Changes changes;
  form.refresh(instance, isByItself, changes);
  LinearModel model = form.model();
  checkNumbers(model, engines().front());
  model.isInteger.clear();
  const ModelSet found = findIn(model, instance.isSolvedAsInteger(), stop);
  InfeasibleSet set;
  set.isIrreducible = found.isIrreducible;
  for (const ModelSide& each : found.sides) {
    if (each.isColumn) {
      add(set.columns, form.instanceColumn(each.number), each.side);
    } else {
      add(set.rows, form.instanceRow(each.number), each.side);
    }
  }
  return set;
}

}  // namespace zdb::kit
