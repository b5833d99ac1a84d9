// What clp and cbc, which is built on it, have in common.
#pragma once

#include <ClpEventHandler.hpp>
#include <ClpSimplex.hpp>

#include "kit/solvers/solver.h"

namespace zdb::kit {

/// What a solve keeps to, in whichever of the models that a solver makes of the one it was given.
class ClpLimits {
 public:
  explicit ClpLimits(const StopToken& stop) : stop_(stop) {}

  /// Counts an iteration; whether it has to be the last. Looks at the clock now and then.
  bool endsWithIteration() {
    const bool isTimeToLook = (++iterations_ & 63) == 0;
    if (isOver_) return false;
    if (stop_.iterationLimit() > 0 && iterations_ >= stop_.iterationLimit()) isStopped_ = true;
    return isTimeToLook ? endsNow() : isStopped_;
  }
  bool endsWithFactorization() { return !isOver_ && endsNow(); }
  bool endsNow() { return isStopped_ = isStopped_ || stop_.isStopRequested(); }
  /// A search that was stopped is over: the relaxation with which cbc confirms its best levels, and
  /// forgets them if it cannot, may go on to its end.
  void endSearch() { isOver_ = isStopped_; }

  int iterations() const { return iterations_; }
  /// Whether a solver was told to stop: what it concludes after that is nothing to go by.
  bool isStopped() const { return isStopped_; }
  Outcome reason() const {
    return stop_.isStopRequested() ? stop_.reason() : Outcome::IterationLimit;
  }

 private:
  const StopToken& stop_;
  int iterations_ = 0;
  bool isStopped_ = false;
  bool isOver_ = false;
};

/// Passes what clp and cbc say on to a log; prints nothing, whatever level they set.
class LogHandler : public CoinMessageHandler {
 public:
  CoinMessageHandler* clone() const override { return new LogHandler(*this); }
  /// For the next solve.
  void setLog(const Log& log) {
    log_ = log;
    setLogLevel(level());
  }
  int level() const { return log_.isOn() ? 1 : 0; }
  int print() override;

 private:
  Log log_;
};

/// Makes a simplex, and the copies that solvers make of it, keep to limits while it lives.
class ClpWatch {
 public:
  ClpWatch(ClpSimplex& simplex, ClpLimits& limits);
  ~ClpWatch();
  ClpWatch(const ClpWatch&) = delete;
  ClpWatch& operator=(const ClpWatch&) = delete;

 private:
  ClpSimplex& simplex_;
};

void solveFromScratch(ClpSimplex& simplex);

/// How a solve ended, after another look where clp may be wrong.
Outcome concludedOutcome(ClpSimplex& simplex, const ClpLimits& limits);

/// Whether its levels are worth fetching: those of a solve that ended too early may be.
bool isUsable(const ClpSimplex& simplex, Outcome outcome);

/// Sets the vectors of a solution.
void fetch(const ClpSimplex& simplex, Solution& solution);

}  // namespace zdb::kit
