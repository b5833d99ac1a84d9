#include "kit/statuses.h"

#include <algorithm>
#include <iterator>

#include "zkitdclib.h"

namespace zdb::kit {

namespace {

// The statuses of an outcome; the model status with and without levels.
struct OutcomeRow {
  Outcome outcome;
  int withLevels;
  int without;
  int solve;
};

constexpr OutcomeRow kOutcomes[] = {
    {Outcome::Optimal, ZKIT_OPTIMAL, ZKIT_ERROR_NO_SOLUTION, ZKIT_COMPLETED},
    {Outcome::Infeasible, ZKIT_INFEASIBLE, ZKIT_INFEASIBLE, ZKIT_COMPLETED},
    {Outcome::IntegerInfeasible, ZKIT_INTEGER_INFEASIBLE, ZKIT_INTEGER_INFEASIBLE, ZKIT_COMPLETED},
    {Outcome::Unbounded, ZKIT_UNBOUNDED, ZKIT_UNBOUNDED, ZKIT_COMPLETED},
    {Outcome::InfeasibleOrUnbounded, ZKIT_NO_SOLUTION_RETURNED, ZKIT_NO_SOLUTION_RETURNED,
     ZKIT_COMPLETED},
    {Outcome::IterationLimit, ZKIT_FEASIBLE, ZKIT_INTERMEDIATE, ZKIT_ITERATION_LIMIT},
    {Outcome::TimeLimit, ZKIT_FEASIBLE, ZKIT_INTERMEDIATE, ZKIT_TIME_LIMIT},
    {Outcome::Interrupted, ZKIT_FEASIBLE, ZKIT_INTERMEDIATE, ZKIT_INTERRUPTED},
    {Outcome::Stopped, ZKIT_FEASIBLE, ZKIT_INTERMEDIATE, ZKIT_STOPPED},
    {Outcome::SetupFailed, ZKIT_ERROR_NO_SOLUTION, ZKIT_ERROR_NO_SOLUTION, ZKIT_SETUP_FAILED},
    {Outcome::SolverFailed, ZKIT_ERROR_NO_SOLUTION, ZKIT_ERROR_NO_SOLUTION, ZKIT_SOLVER_FAILED},
};

struct StatusText {
  int status;
  const char* text;
};

constexpr StatusText kModelTexts[] = {
    {ZKIT_OPTIMAL, "Optimal"},
    {ZKIT_UNBOUNDED, "Unbounded"},
    {ZKIT_INFEASIBLE, "Infeasible"},
    {ZKIT_INTERMEDIATE, "Stopped without a feasible solution"},
    {ZKIT_FEASIBLE, "Feasible, stopped before optimal"},
    {ZKIT_INTEGER_SOLUTION, "Integer solution"},
    {ZKIT_INTEGER_INFEASIBLE, "Integer infeasible"},
    {ZKIT_ERROR_NO_SOLUTION, "Error, no solution"},
    {ZKIT_NO_SOLUTION, "No solution yet"},
    {ZKIT_NO_SOLUTION_RETURNED, "Infeasible or unbounded"},
};

constexpr StatusText kSolveTexts[] = {
    {kNotSolved.solve, "Not solved"},
    {ZKIT_COMPLETED, "Normal completion"},
    {ZKIT_ITERATION_LIMIT, "Iteration limit"},
    {ZKIT_TIME_LIMIT, "Time limit"},
    {ZKIT_STOPPED, "Stopped by the solver"},
    {ZKIT_INTERRUPTED, "Interrupted"},
    {ZKIT_SETUP_FAILED, "Model rejected by the solver"},
    {ZKIT_SOLVER_FAILED, "Solver failure"},
};

const char* textIn(const StatusText* first, const StatusText* last, int status) {
  const auto* found = std::find_if(
      first, last, [status](const StatusText& candidate) { return candidate.status == status; });
  return found == last ? "Unknown status" : found->text;
}

}  // namespace

Statuses statusesOf(Outcome outcome, bool hasLevels, bool isInteger) {
  const auto* row = std::find_if(std::begin(kOutcomes), std::end(kOutcomes) - 1,
                                 [=](const OutcomeRow& each) { return each.outcome == outcome; });
  const int model = hasLevels ? row->withLevels : row->without;
  return {model == ZKIT_OPTIMAL && isInteger ? ZKIT_INTEGER_SOLUTION : model, row->solve};
}

const char* modelStatusText(int status) {
  return textIn(std::begin(kModelTexts), std::end(kModelTexts), status);
}

const char* solveStatusText(int status) {
  return textIn(std::begin(kSolveTexts), std::end(kSolveTexts), status);
}

}  // namespace zdb::kit
