// The solver cbc: linear and integer models, each from scratch.
#include <CbcEventHandler.hpp>
#include <CbcModel.hpp>
#include <CbcSolver.hpp>
#include <ClpEventHandler.hpp>
#include <CoinWarmStartBasis.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <string>
#include <vector>

#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

// The limits of a search. They are outside the handlers because cbc copies those.
struct SearchLimits {
  const StopToken& stop;
  int iterations;  // remaining
  bool isIterationLimitReached = false;
};

// Checks the limits between nodes of the tree.
class NodeHandler : public CbcEventHandler {
 public:
  explicit NodeHandler(SearchLimits& limits) : limits_(&limits) {}
  CbcEventHandler* clone() const override { return new NodeHandler(*this); }
  CbcAction event(CbcEvent /*which*/) override {
    if (getModel()->getIterationCount() >= limits_->iterations) {
      limits_->isIterationLimitReached = true;
    }
    return limits_->isIterationLimitReached || limits_->stop.isStopRequested() ? stop : noAction;
  }

 private:
  SearchLimits* limits_;
};

// Checks for a stop within a relaxation.
class SimplexHandler : public ClpEventHandler {
 public:
  explicit SimplexHandler(const StopToken& stop) : stop_(&stop) {}
  ClpEventHandler* clone() const override { return new SimplexHandler(*this); }
  int event(Event event) override {
    return event == endOfFactorization && stop_->isStopRequested() ? 5 : -1;
  }

 private:
  const StopToken* stop_;
};

int basisOf(CoinWarmStartBasis::Status status) {
  switch (status) {
    case CoinWarmStartBasis::basic:
      return Basic;
    case CoinWarmStartBasis::atUpperBound:
      return AtUpper;
    case CoinWarmStartBasis::atLowerBound:
      return AtLower;
    default:
      return SuperBasic;
  }
}

// Rows are the other way round: cbc's status is that of the slack, which has the opposite sign.
int rowBasisOf(CoinWarmStartBasis::Status status) {
  const int basis = basisOf(status);
  if (basis == AtLower) return AtUpper;
  return basis == AtUpper ? AtLower : basis;
}

void fetch(const OsiSolverInterface& solver, Solution& solution) {
  const int columns = solver.getNumCols();
  const int rows = solver.getNumRows();
  std::copy_n(solver.getColSolution(), columns, solution.level.begin());
  std::copy_n(solver.getReducedCost(), columns, solution.marginal.begin());
  std::copy_n(solver.getRowActivity(), rows, solution.rowLevel.begin());
  std::copy_n(solver.getRowPrice(), rows, solution.rowMarginal.begin());
  const std::unique_ptr<CoinWarmStart> start(solver.getWarmStart());
  if (const auto* basis = dynamic_cast<const CoinWarmStartBasis*>(start.get())) {
    for (int j = 0; j < columns; ++j) solution.basis[j] = basisOf(basis->getStructStatus(j));
    for (int i = 0; i < rows; ++i) solution.rowBasis[i] = rowBasisOf(basis->getArtifStatus(i));
  }
  solution.hasLevels = true;
}

int ignoreStage(CbcModel* /*tree*/, int /*stage*/) {
  return 0;
}

// cbc parses its command line with global variables, and prompts on the terminal if another thread
// changes them, so only one search runs at a time. Returns without the lock if the stop is
// requested first.
std::unique_lock<std::timed_mutex> waitForTurn(const StopToken& stop) {
  static std::timed_mutex searching;
  std::unique_lock turn(searching, std::defer_lock);
  while (!turn.try_lock_for(std::chrono::milliseconds(20)) && !stop.isStopRequested()) {
  }
  return turn;
}

// Prints nothing, whatever level cbc sets.
class SilentHandler : public CoinMessageHandler {
 public:
  int print() override { return 0; }
  CoinMessageHandler* clone() const override { return new SilentHandler(*this); }
};

class Cbc : public Solver {
 public:
  Cbc() {
    solver_.setHintParam(OsiDoReducePrint, true, OsiHintDo);
    solver_.passInMessageHandler(&silence_);
    solver_.getModelPtr()->setLogLevel(0);
  }

  void load(const LinearModel& model) override {
    const double infinity = solver_.getInfinity();
    const auto clamped = [infinity](std::vector<double> bounds) {
      for (double& bound : bounds) bound = std::clamp(bound, -infinity, infinity);
      return bounds;
    };
    solver_.loadProblem(model.columnCount(), model.rowCount(), model.starts.data(),
                        model.rows.data(), model.values.data(), clamped(model.lower).data(),
                        clamped(model.upper).data(), model.cost.data(),
                        clamped(model.rowLower).data(), clamped(model.rowUpper).data());
    isInteger_ = model.isInteger;
    for (std::size_t j = 0; j < isInteger_.size(); ++j) {
      if (isInteger_[j] != 0) solver_.setInteger(static_cast<int>(j));
    }
  }

  void change(const LinearModel& model, const Changes& /*changes*/) override { load(model); }

  Outcome solve(const Changes* /*changes*/, const StopToken& stop, Solution& solution) override {
    SimplexHandler handler(stop);
    solver_.getModelPtr()->passInEventHandler(&handler);
    const int limit = stop.iterationLimit();
    solver_.setIntParam(OsiMaxNumIteration, limit > 0 ? limit : kNoLimit);
    solver_.initialSolve();
    solution.iterations = solver_.getIterationCount();
    const Outcome relaxation = relaxationOutcome(stop);
    if (relaxation == Outcome::Optimal && !isInteger_.empty()) return branch(stop, solution);
    const bool isStopped = relaxation != Outcome::Infeasible && relaxation != Outcome::Unbounded;
    const bool isFeasible = isInteger_.empty() && solver_.getModelPtr()->primalFeasible();
    if (relaxation == Outcome::Optimal || (isStopped && isFeasible)) fetch(solver_, solution);
    return relaxation;
  }

 private:
  Outcome relaxationOutcome(const StopToken& stop) const {
    if (solver_.isProvenOptimal()) return Outcome::Optimal;
    if (solver_.isProvenPrimalInfeasible()) return Outcome::Infeasible;
    if (solver_.isProvenDualInfeasible()) return Outcome::Unbounded;
    if (solver_.isIterationLimitReached()) return Outcome::IterationLimit;
    return stop.isStopRequested() ? stop.reason() : Outcome::Stopped;
  }

  // Does all that cbc's program does: preprocessing, cuts, heuristics. That takes the entry point
  // of its command line.
  Outcome branch(const StopToken& stop, Solution& solution) {
    const std::unique_lock turn = waitForTurn(stop);
    if (!turn.owns_lock()) return stop.reason();
    CbcModel tree(solver_);
    CbcSolverUsefulData state;
    state.noPrinting_ = true;
    state.useSignalHandler_ = false;
    CbcMain0(tree, state);
    tree.setLogLevel(0);
    const int limit = stop.iterationLimit();
    SearchLimits limits = {stop, limit > 0 ? limit - solution.iterations : kNoLimit};
    NodeHandler handler(limits);
    tree.passInEventHandler(&handler);
    // In whole seconds, which no locale writes differently; the handler is more exact.
    const std::string seconds = std::to_string(std::lround(stop.secondsLeft(0.001) + 1.0));
    std::vector<const char*> words = {"kit", "-logLevel",     "0", "-ratioGap",
                                      "0",   "-allowableGap", "0"};
    if (stop.secondsLeft(0.001) > 0.0) {
      words.insert(words.end(), {"-timeMode", "elapsed", "-seconds", seconds.c_str()});
    }
    words.insert(words.end(), {"-solve", "-quit"});
    CbcMain1(static_cast<int>(words.size()), words.data(), tree, ignoreStage, state);
    solution.iterations += tree.getIterationCount();
    if (tree.bestSolution() != nullptr) fixIntegers(tree.bestSolution(), solution);
    return treeOutcome(tree, limits);
  }

  static Outcome treeOutcome(const CbcModel& tree, const SearchLimits& limits) {
    if (tree.isProvenOptimal()) return Outcome::Optimal;
    if (limits.stop.isStopRequested()) return limits.stop.reason();
    if (limits.isIterationLimitReached) return Outcome::IterationLimit;
    if (tree.isProvenInfeasible()) return Outcome::IntegerInfeasible;
    return Outcome::Stopped;
  }

  // Marginals are those of the model with its integer columns fixed at their levels.
  void fixIntegers(const double* best, Solution& solution) {
    for (std::size_t j = 0; j < isInteger_.size(); ++j) {
      if (isInteger_[j] == 0) continue;
      const double level = std::round(best[j]);
      solver_.setColBounds(static_cast<int>(j), level, level);
    }
    solver_.resolve();
    if (solver_.isProvenOptimal()) return fetch(solver_, solution);
    // Rounding has made it infeasible: use the levels as they were found.
    std::copy_n(best, isInteger_.size(), solution.level.begin());
    solver_.getMatrixByCol()->times(best, solution.rowLevel.data());
    solution.hasLevels = true;
  }

  static constexpr int kNoLimit = 2147483647;

  SilentHandler silence_;  // of the solver and of the copies that cbc makes of it
  OsiClpSolverInterface solver_;
  std::vector<char> isInteger_;
};

}  // namespace

std::unique_ptr<Solver> makeCbc() {
  return std::make_unique<Cbc>();
}

}  // namespace zdb::kit
