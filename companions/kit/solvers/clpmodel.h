// What clp and cbc, which is built on it, have in common.
#pragma once

#include <ClpEventHandler.hpp>
#include <ClpSimplex.hpp>

#include "kit/solvers/solver.h"
#include "kit/solvers/watch.h"

namespace zdb::kit {

/// Is asked by clp and cbc, in each of their models.
class ClpLimits : public Watch {
 public:
  using Watch::Watch;

  /// Counts an iteration; whether it has to be the last. Looks at the clock now and then.
  bool endsWithIteration() {
    count(1);
    const bool isTimeToLook = (iterations() & 63) == 0 || left() == 0;
    return !isOver_ && (isTimeToLook ? ends() : isStopped());
  }
  bool endsWithFactorization() { return !isOver_ && ends(); }
  /// A search that was stopped is over: the relaxation with which cbc confirms its best levels, and
  /// forgets them if it cannot, may go on to its end.
  void endSearch() { isOver_ = isStopped(); }

 private:
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
