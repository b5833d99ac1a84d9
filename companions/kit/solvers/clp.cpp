// The solver clp: linear models, in place.
#include <ClpEventHandler.hpp>
#include <ClpFactorization.hpp>
#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#include <algorithm>

#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

// Polls the stop token.
class StopHandler : public ClpEventHandler {
 public:
  explicit StopHandler(const StopToken* stop = nullptr) : stop_(stop) {}
  ClpEventHandler* clone() const override { return new StopHandler(*this); }
  int event(Event event) override {
    if (event != endOfIteration && event != endOfFactorization) return -1;
    const bool isTimeToLook = event == endOfFactorization || (++calls_ & 63U) == 0;
    return stop_ != nullptr && isTimeToLook && stop_->isStopRequested() ? kStopped : -1;
  }

 private:
  static constexpr int kStopped = 5;  // becomes the status of clp
  const StopToken* stop_;
  unsigned calls_ = 0;
};

int basisOf(ClpSimplex::Status status) {
  switch (status) {
    case ClpSimplex::basic:
      return Basic;
    case ClpSimplex::atUpperBound:
      return AtUpper;
    case ClpSimplex::atLowerBound:
    case ClpSimplex::isFixed:
      return AtLower;
    default:
      return SuperBasic;
  }
}

class Clp : public Solver {
 public:
  Clp() {
    simplex_.setLogLevel(0);
    // Keeps the memory of factorizations, at least 1.3 MB, which clp otherwise allocates and frees
    // for each: that takes ten times as long as a small solve.
    simplex_.factorization()->setPersistenceFlag(1);
  }

  void load(const LinearModel& model) override {
    simplex_.loadProblem(model.columnCount(), model.rowCount(), model.starts.data(),
                         model.rows.data(), model.values.data(), model.lower.data(),
                         model.upper.data(), model.cost.data(), model.rowLower.data(),
                         model.rowUpper.data());
  }

  void change(const LinearModel& model, const Changes& changes) override {
    for (const int j : changes.columns) {
      simplex_.setColumnBounds(j, model.lower[j], model.upper[j]);
    }
    for (const int i : changes.rows) {
      simplex_.setRowBounds(i, model.rowLower[i], model.rowUpper[i]);
    }
    for (const int j : changes.costs) simplex_.setObjectiveCoefficient(j, model.cost[j]);
    for (std::size_t k = 0; k < changes.places.size(); ++k) {
      const int place = changes.places[k];
      simplex_.modifyCoefficient(model.rows[place], changes.placeColumns[k], model.values[place],
                                 true);
    }
  }

  Outcome solve(const Changes* changes, const StopToken& stop, Solution& solution) override {
    StopHandler handler(&stop);
    simplex_.passInEventHandler(&handler);
    simplex_.setMaximumIterations(stop.iterationLimit() > 0 ? stop.iterationLimit() : kNoLimit);
    simplex_.setNumberIterations(0);
    if (changes == nullptr) {
      solveFromScratch();
    } else if (changes->needsDualStart()) {
      simplex_.dual();
    } else {
      simplex_.primal();
    }
    StopHandler none;
    simplex_.passInEventHandler(&none);
    solution.iterations = simplex_.numberIterations();
    const Outcome outcome = outcomeNow(stop);
    const bool isUsable = outcome != Outcome::Infeasible && outcome != Outcome::Unbounded;
    if (isUsable && !isFailure(outcome) && simplex_.primalFeasible()) fetch(solution);
    return outcome;
  }

 private:
  static constexpr int kNoLimit = 2147483647;

  // The presolve may find that a model is infeasible or unbounded without knowing which, so such a
  // model is solved again without it.
  void solveFromScratch() {
    ClpSolve how;
    how.setPresolveType(ClpSolve::presolveOn);
    simplex_.initialSolve(how);
    if (simplex_.status() != 1 && simplex_.status() != 2) return;
    simplex_.allSlackBasis(true);
    simplex_.primal();
  }

  Outcome outcomeNow(const StopToken& stop) const {
    switch (simplex_.status()) {
      case 0:
        return Outcome::Optimal;
      case 1:
        return Outcome::Infeasible;
      case 2:
        return Outcome::Unbounded;
      case 3:
        return Outcome::IterationLimit;
      case 5:
        return stop.reason();
      default:
        return Outcome::Stopped;
    }
  }

  void fetch(Solution& solution) const {
    const auto columns = static_cast<std::size_t>(simplex_.numberColumns());
    const auto rows = static_cast<std::size_t>(simplex_.numberRows());
    std::copy_n(simplex_.getColSolution(), columns, solution.level.begin());
    std::copy_n(simplex_.getReducedCost(), columns, solution.marginal.begin());
    std::copy_n(simplex_.getRowActivity(), rows, solution.rowLevel.begin());
    std::copy_n(simplex_.getRowPrice(), rows, solution.rowMarginal.begin());
    for (std::size_t j = 0; j < columns; ++j) {
      solution.basis[j] = basisOf(simplex_.getColumnStatus(static_cast<int>(j)));
    }
    for (std::size_t i = 0; i < rows; ++i) {
      solution.rowBasis[i] = basisOf(simplex_.getRowStatus(static_cast<int>(i)));
    }
    solution.hasLevels = true;
  }

  ClpSimplex simplex_;
};

}  // namespace

std::unique_ptr<Solver> makeClp() {
  return std::make_unique<Clp>();
}

}  // namespace zdb::kit
