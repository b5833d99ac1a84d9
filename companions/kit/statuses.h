// How solves end, and the status numbers and texts for it.
#pragma once

namespace zdb::kit {

/// How a solve ended. Only the classes of the solvers translate their codes into these.
enum class Outcome : int {
  Optimal,
  Infeasible,
  IntegerInfeasible,  ///< feasible, but not with integer levels
  Unbounded,
  InfeasibleOrUnbounded,  ///< the solver does not know which
  IterationLimit,
  TimeLimit,
  Interrupted,  ///< by the terminate flag
  Stopped,      ///< by the solver, for example for numerical difficulties
  SetupFailed,  ///< the solver rejected the model
  SolverFailed,
};

/// Basis status of a column or row.
enum BasisStatus : int { AtLower = 0, AtUpper = 1, Basic = 2, SuperBasic = 3 };

/// Status of a column or row: whether its level is that of an optimal solution.
enum EntryStatus : int { EntryOk = 0, EntryNotOptimal = 1 };

/// The numbers in the host's header.
struct Statuses {
  int model;
  int solve;
};

inline constexpr Statuses kNotSolved = {14, 0};

/// The statuses of an outcome; `hasLevels` if the solver found levels that satisfy all rows and
/// bounds, `isInteger` if the model was solved with integer columns.
Statuses statusesOf(Outcome outcome, bool hasLevels, bool isInteger);

/// Whether the call of a solver counts as failed.
inline bool isFailure(Outcome outcome) {
  return outcome == Outcome::SetupFailed || outcome == Outcome::SolverFailed;
}

const char* modelStatusText(int status);
const char* solveStatusText(int status);

}  // namespace zdb::kit
