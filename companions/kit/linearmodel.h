// A linear model as solvers get it, changes to it, and what they find.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <vector>

#include "kit/environment.h"
#include "kit/statuses.h"

namespace zdb::kit {

/// Minimise cost * x + offset, with bounds for columns x and rows. Coefficients are stored by
/// column as in Matrix; values may be 0. Absent bounds are infinite.
struct LinearModel {
  std::vector<int> starts = {0};
  std::vector<int> rows;
  std::vector<double> values;
  std::vector<double> cost;
  double offset = 0.0;
  std::vector<double> lower;
  std::vector<double> upper;
  std::vector<double> rowLower;
  std::vector<double> rowUpper;
  std::vector<char> isInteger;  ///< empty: no column is integer

  int columnCount() const { return static_cast<int>(lower.size()); }
  int rowCount() const { return static_cast<int>(rowLower.size()); }
};

/// What the columns cost at these levels, without the offset. In four sums, which do not wait for
/// each other.
inline double costOf(const LinearModel& model, const double* level) {
  double sums[4] = {};
  for (std::size_t k = 0; k < model.cost.size(); ++k) sums[k % 4] += model.cost[k] * level[k];
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

/// How a model differs from the one that a solver has loaded. For solvers, lists are in ascending
/// order and without duplicates.
struct Changes {
  std::vector<int> costs;         ///< columns
  std::vector<int> columns;       ///< whose bounds changed
  std::vector<int> rows;          ///< whose bounds changed
  std::vector<int> places;        ///< of coefficients
  std::vector<int> placeColumns;  ///< the column of each of these

  bool isEmpty() const {
    return costs.empty() && columns.empty() && rows.empty() && places.empty();
  }
  bool areOfCosts() const { return columns.empty() && rows.empty() && places.empty(); }
  bool needsDualStart() const { return !columns.empty() || !rows.empty(); }
  void clear() {
    for (std::vector<int>* list : {&costs, &columns, &rows, &places, &placeColumns}) list->clear();
  }
};

/// A solution of the minimised model. A marginal is the change of the cost per unit of a row's
/// right-hand side or a column's bound.
struct Solution {
  std::vector<double> level;
  std::vector<double> marginal;
  std::vector<int> basis;
  std::vector<double> rowLevel;
  std::vector<double> rowMarginal;
  std::vector<int> rowBasis;
  bool hasLevels =
      false;  ///< levels that satisfy all rows and bounds; if false, all else is undefined
  bool isInSolver = false;  ///< the vectors are not set yet: the solver fetches them when asked to
  int iterations = 0;
  /// What the objective, offset included, cannot go below, if a search for integer levels tells.
  double bound = std::numeric_limits<double>::quiet_NaN();

  void resize(int columns, int rows) {
    level.assign(static_cast<std::size_t>(columns), 0.0);
    marginal.assign(static_cast<std::size_t>(columns), 0.0);
    basis.assign(static_cast<std::size_t>(columns), AtLower);
    rowLevel.assign(static_cast<std::size_t>(rows), 0.0);
    rowMarginal.assign(static_cast<std::size_t>(rows), 0.0);
    rowBasis.assign(static_cast<std::size_t>(rows), Basic);
  }
};

/// What a running solve has to keep to: when to stop (on request, or when its time is up), how good
/// its result must be, and where what it says goes.
class StopToken {
 public:
  explicit StopToken(const Environment& environment)
      : StopToken(environment.terminate, environment.limits) {
    log_ = environment.logTarget();
  }
  StopToken(const std::atomic<bool>& terminate, const Limits& limits)
      : terminate_(terminate), limits_(limits), start_(Clock::now()) {}

  bool isInterrupted() const { return terminate_.load(std::memory_order_relaxed); }
  bool isOutOfTime() const { return limits_.seconds > 0.0 && elapsed() >= limits_.seconds; }
  bool isStopRequested() const { return isInterrupted() || isOutOfTime(); }
  /// Why the stop was requested.
  Outcome reason() const { return isInterrupted() ? Outcome::Interrupted : Outcome::TimeLimit; }

  double elapsed() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  /// The time left, at least `floor`; 0 means no limit.
  double secondsLeft(double floor) const {
    if (limits_.seconds <= 0.0) return 0.0;
    const double left = limits_.seconds - elapsed();
    return left > floor ? left : floor;
  }
  /// 0 or less means no limit.
  int iterationLimit() const { return limits_.iterations; }

  const Log& log() const { return log_; }

  /// How far an objective may be from the bound where a search may end.
  bool hasGap() const { return limits_.relativeGap > 0.0 || limits_.absoluteGap > 0.0; }
  double relativeGap() const { return limits_.relativeGap; }
  double absoluteGap() const { return limits_.absoluteGap; }
  bool isCloseEnough(double objective, double bound) const {
    const double gap = std::abs(objective - bound);
    return gap <= std::max(limits_.absoluteGap, limits_.relativeGap * std::abs(objective));
  }

 private:
  using Clock = std::chrono::steady_clock;
  const std::atomic<bool>& terminate_;
  Limits limits_;
  Log log_;
  Clock::time_point start_;
};

}  // namespace zdb::kit
