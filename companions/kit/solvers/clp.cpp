// The solver clp: linear models, in place.
#include <ClpConfig.h>

#include <ClpFactorization.hpp>
#include <ClpSimplex.hpp>
#include <algorithm>
#include <optional>
#include <vector>

#include "kit/solvers/clpmodel.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

/// All that a simplex goes by when it starts, but for the problem itself.
class Start {
 public:
  explicit Start(ClpSimplex& simplex)
      : status_(simplex.statusArray(), simplex.statusArray() + sizeOf(simplex)),
        random_(*simplex.randomNumberGenerator()),
        specialOptions_(simplex.specialOptions()),
        moreSpecialOptions_(simplex.moreSpecialOptions()),
        perturbation_(simplex.perturbation()),
        dualBound_(simplex.dualBound()),
        infeasibilityCost_(simplex.infeasibilityCost()),
        frequency_(simplex.factorizationFrequency()) {
    const auto keep = [](std::vector<double>& kept, const double* values, int count) {
      kept.assign(values, values + count);
    };
    keep(level_, simplex.primalColumnSolution(), simplex.numberColumns());
    keep(marginal_, simplex.dualColumnSolution(), simplex.numberColumns());
    keep(rowLevel_, simplex.primalRowSolution(), simplex.numberRows());
    keep(rowMarginal_, simplex.dualRowSolution(), simplex.numberRows());
  }

  void restore(ClpSimplex& simplex) const {
    std::copy(status_.begin(), status_.end(), simplex.statusArray());
    std::copy(level_.begin(), level_.end(), simplex.primalColumnSolution());
    std::copy(marginal_.begin(), marginal_.end(), simplex.dualColumnSolution());
    std::copy(rowLevel_.begin(), rowLevel_.end(), simplex.primalRowSolution());
    std::copy(rowMarginal_.begin(), rowMarginal_.end(), simplex.dualRowSolution());
    *simplex.randomNumberGenerator() = random_;
    simplex.setSpecialOptions(specialOptions_);
    simplex.setMoreSpecialOptions(moreSpecialOptions_);
    simplex.setPerturbation(perturbation_);
    simplex.setDualBound(dualBound_);
    simplex.setInfeasibilityCost(infeasibilityCost_);
    simplex.setFactorizationFrequency(frequency_);
  }

 private:
  static std::size_t sizeOf(const ClpSimplex& simplex) {
    return static_cast<std::size_t>(simplex.numberColumns()) +
           static_cast<std::size_t>(simplex.numberRows());
  }

  std::vector<unsigned char> status_;
  std::vector<double> level_;
  std::vector<double> marginal_;
  std::vector<double> rowLevel_;
  std::vector<double> rowMarginal_;
  CoinThreadRandom random_;
  unsigned int specialOptions_;
  int moreSpecialOptions_;
  int perturbation_;
  double dualBound_;
  double infeasibilityCost_;
  int frequency_;
};

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
    if (changes == nullptr) {
      solveFromScratch(simplex_);
    } else if (changes->needsDualStart()) {
      simplex_.dual();
    } else {
      simplex_.primal();
    }
    const Outcome outcome = concludedOutcome(simplex_, limits);
    solution.iterations = limits.iterations();
    if (isUsable(simplex_, outcome)) fetch(simplex_, solution);
    return outcome;
  }

  bool keepStart() override {
    start_.emplace(simplex_);
    return true;
  }

  void goBack(const LinearModel& model, const Changes& changes) override {
    change(model, changes);
    start_->restore(simplex_);
  }

 private:
  LogHandler messages_;  // of the simplex and of the copies that clp makes of it
  ClpSimplex simplex_;
  std::optional<Start> start_;
};

}  // namespace

const char* clpVersion() {
  return CLP_VERSION;
}

std::unique_ptr<Solver> makeClp() {
  return std::make_unique<Clp>();
}

}  // namespace zdb::kit
