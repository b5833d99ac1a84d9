// The solver cbc: integer models, from scratch.
#include <CbcConfig.h>

#include <CbcEventHandler.hpp>
#include <CbcModel.hpp>
#include <CbcSolver.hpp>
#include <OsiClpSolverInterface.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <mutex>
#include <string>
#include <vector>

#include "kit/solvers/clpmodel.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

// Between nodes of the tree; within relaxations the simplex looks.
class NodeHandler : public CbcEventHandler {
 public:
  explicit NodeHandler(ClpLimits& limits) : limits_(&limits) {}
  CbcEventHandler* clone() const override { return new NodeHandler(*this); }
  CbcAction event(CbcEvent which) override {
    if (which == endSearch) limits_->endSearch();
    return limits_->ends() ? stop : noAction;
  }

 private:
  ClpLimits* limits_;
};

int ignoreStage(CbcModel* /*tree*/, int /*stage*/) {
  return 0;
}

// cbc reads the words of its command line by way of variables of the whole process, and asks the
// terminal when they are changed under it: one search at a time. No lock if told to stop.
std::unique_lock<std::timed_mutex> waitForTurn(const StopToken& stop) {
  static std::timed_mutex searching;
  std::unique_lock turn(searching, std::defer_lock);
  while (!turn.try_lock_for(std::chrono::milliseconds(20)) && !stop.isStopRequested()) {
  }
  return turn;
}

// cbc takes a gap relative to the larger of objective and bound; this is never more than the given
// one relative to the objective.
double ratioOf(double relativeGap) {
  return relativeGap / (1.0 + relativeGap);
}

// With a point, in every locale.
std::string written(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return {text, end};
}

class Cbc : public Solver {
 public:
  Cbc() {
    solver_.setHintParam(OsiDoReducePrint, true, OsiHintDo);
    solver_.passInMessageHandler(&messages_);
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
    solver_.setDblParam(OsiObjOffset, -model.offset);
    isInteger_ = model.isInteger;
    for (std::size_t j = 0; j < isInteger_.size(); ++j) {
      if (isInteger_[j] != 0) solver_.setInteger(static_cast<int>(j));
    }
  }

  void change(const LinearModel& model, const Changes& /*changes*/) override { load(model); }

  Outcome solve(const Changes* /*changes*/, const StopToken& stop, Solution& solution) override {
    ClpSimplex& simplex = *solver_.getModelPtr();
    ClpLimits limits(stop);
    const ClpWatch watch(simplex, limits);
    messages_.setLog(stop.log());
    simplex.setLogLevel(messages_.level());
    solveFromScratch(simplex);
    Outcome outcome = concludedOutcome(simplex, limits);
    relaxed_ = solver_.getObjValue();
    if (outcome == Outcome::Optimal && !isInteger_.empty()) {
      outcome = branch(stop, limits, solution);
    } else if (isInteger_.empty() && isUsable(simplex, outcome)) {
      kit::fetch(simplex, solution);
      solution.hasLevels = true;
    }
    solution.iterations = limits.iterations();
    return outcome;
  }

 private:
  // All that cbc does by itself: preprocessing, cuts, heuristics. The way in is that of its
  // command line.
  Outcome branch(const StopToken& stop, ClpLimits& limits, Solution& solution) {
    const std::unique_lock turn = waitForTurn(stop);
    if (!turn.owns_lock()) return stop.reason();
    solver_.setWarmStart(nullptr);  // takes the basis of the relaxation
    CbcModel tree(solver_);
    CbcSolverUsefulData state;
    state.noPrinting_ = true;
    state.useSignalHandler_ = false;
    CbcMain0(tree, state);
    tree.passInMessageHandler(&messages_);
    tree.setLogLevel(messages_.level());
    const NodeHandler handler(limits);
    tree.passInEventHandler(&handler);
    // In whole seconds, which are written alike everywhere; the handlers are more exact.
    const double seconds = stop.secondsLeft(0.001);
    const std::string limit = std::to_string(std::lround(std::min(seconds, kLongest) + 1.0));
    // Option 1 of the 1057 that are usual makes relaxations smaller, and fails an assertion, which
    // ends the process, in a few models of two rows.
    const std::string relative = written(ratioOf(stop.relativeGap()));
    const std::string absolute = written(stop.absoluteGap());
    const std::string level = std::to_string(messages_.level());
    std::vector<const char*> words = {
        "kit",           "-logLevel",      level.c_str(), "-ratioGap", relative.c_str(),
        "-allowableGap", absolute.c_str(), "-mipOptions", "1056"};
    if (seconds > 0.0) {
      words.insert(words.end(), {"-timeMode", "elapsed", "-seconds", limit.c_str()});
    }
    // Preprocessing, cbc 2.10 calls a few models infeasible that are not, and levels optimal that
    // are not, if some columns are not integer.
    const bool isMixed = std::find(isInteger_.begin(), isInteger_.end(), 0) != isInteger_.end();
    if (isMixed) words.insert(words.end(), {"-preprocess", "off"});
    words.insert(words.end(), {"-solve", "-quit"});
    CbcMain1(static_cast<int>(words.size()), words.data(), tree, ignoreStage, state);
    return concludedSearch(tree, stop, limits, solution);
  }

  Outcome concludedSearch(const CbcModel& tree, const StopToken& stop, ClpLimits& limits,
                          Solution& solution) {
    const Outcome outcome = outcomeOf(tree, stop, limits);
    // Stopped, cbc may have nothing better to tell than the objective that it has found.
    const double bound = tree.getBestPossibleObjValue();
    const bool isKnown = outcome == Outcome::Optimal || bound < tree.getObjValue();
    solution.bound = isKnown ? std::max(bound, relaxed_) : relaxed_;
    if (tree.bestSolution() == nullptr) return outcome;
    if (outcome == Outcome::Optimal) {  // what is left is not a search and has no limits
      const ClpEventHandler none;
      solver_.getModelPtr()->passInEventHandler(&none);
    }
    fixIntegers(tree.bestSolution(), solution);
    return outcome;
  }

  static Outcome outcomeOf(const CbcModel& tree, const StopToken& stop, ClpLimits& limits) {
    if (limits.isStopped()) return limits.reason();
    const double found = tree.getObjValue();
    const double bound = tree.getBestPossibleObjValue();
    const bool isBest =
        found - bound <= kGap * std::max(1.0, std::abs(found)) || stop.isCloseEnough(found, bound);
    if (tree.isProvenOptimal() && isBest) return Outcome::Optimal;
    if (limits.ends()) return limits.reason();
    return tree.isProvenInfeasible() ? Outcome::IntegerInfeasible : Outcome::Stopped;
  }

  // Marginals are those of the model with its integer columns fixed at their levels.
  void fixIntegers(const double* best, Solution& solution) {
    for (std::size_t j = 0; j < isInteger_.size(); ++j) {
      if (isInteger_[j] == 0) continue;
      const double level = std::round(best[j]);
      solver_.setColBounds(static_cast<int>(j), level, level);
    }
    ClpSimplex& simplex = *solver_.getModelPtr();
    simplex.dual();
    solution.hasLevels = true;
    if (simplex.status() == 0) return kit::fetch(simplex, solution);
    // Rounding made it infeasible: the levels as they were found.
    std::copy_n(best, isInteger_.size(), solution.level.begin());
    solver_.getMatrixByCol()->times(best, solution.rowLevel.data());
  }

  static constexpr double kLongest = 1.0e9;  // seconds
  static constexpr double kGap = 1.0e-6;     // relative

  LogHandler messages_;  // of the solver and of the copies that cbc makes of it
  OsiClpSolverInterface solver_;
  std::vector<char> isInteger_;
  double relaxed_ = 0.0;  // objective of the relaxation
};

}  // namespace

const char* cbcVersion() {
  return CBC_VERSION;
}

std::unique_ptr<Solver> makeCbc() {
  return std::make_unique<Cbc>();
}

}  // namespace zdb::kit
