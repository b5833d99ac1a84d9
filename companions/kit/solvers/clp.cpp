// The solver clp: linear models, in place.
#include <ClpConfig.h>

#include <ClpFactorization.hpp>
#include <ClpSimplex.hpp>
#include <memory>
#include <optional>

#include "kit/solvers/clpmodel.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

class Clp : public Solver {
 public:
  Clp() {
    simplex_.passInMessageHandler(&messages_);
    simplex_.setLogLevel(0);
    // Keeps the memory of factorizations, some 1.3 MB at least, which clp otherwise takes from the
    // system and gives back for each: ten times the work of a small solve.
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
    ClpLimits limits(stop);
    const ClpWatch watch(simplex_, limits);
    messages_.setLog(stop.log());
    simplex_.setNumberIterations(0);
    objective_.reset();
    if (changes == nullptr) {
      solveFromScratch(simplex_);
    } else if (changes->needsDualStart()) {
      simplex_.dual();
    } else {
      simplex_.primal();
      const bool isSure = simplex_.status() == 0 && simplex_.secondaryStatus() == 0;
      if (isSure) objective_ = simplex_.objectiveValue();
    }
    const Outcome outcome = concludedOutcome(simplex_, limits);
    solution.iterations = limits.iterations();
    solution.hasLevels = solution.isInSolver = isUsable(simplex_, outcome);
    return outcome;
  }

  void fetch(Solution& solution) override { kit::fetch(simplex_, solution); }
  double objective(const LinearModel& model) const override {
    const double* levels = simplex_.getColSolution();
    return (objective_ ? *objective_ : costOf(model, levels)) + model.offset;
  }

  // All of it: a simplex goes by more than its basis, such as the order in which coefficients stand
  // after some have been 0, or what an infeasible model has left.
  bool keepStart() override {
    start_ = std::make_unique<ClpSimplex>(simplex_);
    return true;
  }
  void goBack(const LinearModel& /*model*/) override { simplex_ = *start_; }

 private:
  LogHandler messages_;  // of the simplex and of the copies that clp makes of it
  ClpSimplex simplex_;
  std::optional<double> objective_;  // where clp is known to have added it up from the levels
  std::unique_ptr<ClpSimplex> start_;
};

}  // namespace

const char* clpVersion() {
  return CLP_VERSION;
}

std::unique_ptr<Solver> makeClp() {
  return std::make_unique<Clp>();
}

}  // namespace zdb::kit
