#include "kit/solvers/clpmodel.h"

#include <ClpSolve.hpp>
#include <algorithm>
#include <sstream>
#include <string>
#include <utility>

namespace zdb::kit {

namespace {

class LimitsHandler : public ClpEventHandler {
 public:
  explicit LimitsHandler(ClpLimits& limits, LimitsHandler* firstClone = nullptr)
      : limits_(&limits), firstClone_(firstClone) {}
  ClpEventHandler* clone() const override {
    LimitsHandler* ready = std::exchange(firstClone_, nullptr);
    return ready != nullptr ? ready : new LimitsHandler(*this);
  }
  int event(Event event) override {
    const bool ends = event == endOfIteration       ? limits_->endsWithIteration()
                      : event == endOfFactorization ? limits_->endsWithFactorization()
                                                    : false;
    return ends ? kStopped : -1;
  }

 private:
  static constexpr int kStopped = 5;  // the status that clp then has
  ClpLimits* limits_;
  mutable LimitsHandler* firstClone_;
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

// Presolved or scaled, clp 1.17 calls some unbounded models infeasible, and some infeasible or
// unbounded ones neither; not so as they stand. A secondary status above 1 is that of levels which
// are not a solution once scaling is undone. Few iterations, as the basis stays.
void lookAgain(ClpSimplex& simplex) {
  const int scaling = simplex.scalingFlag();
  simplex.scaling(0);
  simplex.primal();
  if (simplex.status() == 4) simplex.dual();
  simplex.scaling(scaling);
}

}  // namespace

// A message may be several lines.
int LogHandler::print() {
  if (!log_.isOn()) return 0;
  std::istringstream lines(messageBuffer());
  for (std::string line; std::getline(lines, line);) log_.lineFromSolver(line.c_str());
  return 0;
}

ClpWatch::ClpWatch(ClpSimplex& simplex, ClpLimits& limits) : simplex_(simplex) {
  // Made before, since clp has deleted its old handler when it asks for the clone.
  const LimitsHandler handler(limits, new LimitsHandler(limits));
  simplex_.passInEventHandler(&handler);
}

ClpWatch::~ClpWatch() {
  const ClpEventHandler none;
  simplex_.passInEventHandler(&none);
}

void solveFromScratch(ClpSimplex& simplex) {
  ClpSolve how;
  how.setPresolveType(ClpSolve::presolveOn);
  simplex.initialSolve(how);
}

Outcome concludedOutcome(ClpSimplex& simplex, const ClpLimits& limits) {
  const bool isSure = simplex.status() == 0 && simplex.secondaryStatus() <= 1;
  if (!isSure && !limits.isStopped()) lookAgain(simplex);
  if (simplex.status() == 0) return Outcome::Optimal;
  if (limits.isStopped()) return limits.reason();
  if (simplex.status() == 1) return Outcome::Infeasible;
  return simplex.status() == 2 ? Outcome::Unbounded : Outcome::Stopped;
}

bool isUsable(const ClpSimplex& simplex, Outcome outcome) {
  return outcome != Outcome::Infeasible && outcome != Outcome::Unbounded &&
         simplex.primalFeasible();
}

void fetch(const ClpSimplex& simplex, Solution& solution) {
  const auto columns = static_cast<std::size_t>(simplex.numberColumns());
  const auto rows = static_cast<std::size_t>(simplex.numberRows());
  std::copy_n(simplex.getColSolution(), columns, solution.level.begin());
  std::copy_n(simplex.getReducedCost(), columns, solution.marginal.begin());
  std::copy_n(simplex.getRowActivity(), rows, solution.rowLevel.begin());
  std::copy_n(simplex.getRowPrice(), rows, solution.rowMarginal.begin());
  for (std::size_t j = 0; j < columns; ++j) {
    solution.basis[j] = basisOf(simplex.getColumnStatus(static_cast<int>(j)));
  }
  for (std::size_t i = 0; i < rows; ++i) {
    solution.rowBasis[i] = basisOf(simplex.getRowStatus(static_cast<int>(i)));
  }
}

}  // namespace zdb::kit
