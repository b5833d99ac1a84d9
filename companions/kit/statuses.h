// How solves end, and the numbers and names that stand for it.
#pragma once

namespace zdb::kit {

/// How a solve ended. Each solver translates its own codes into these, and nothing else does.
enum class Outcome : int {
  Optimal,
  Infeasible,
  IntegerInfeasible,  ///< feasible, but not with integer levels
  Unbounded,
  InfeasibleOrUnbounded,  ///< the solver did not find out which
  IterationLimit,
  TimeLimit,
  Interrupted,  ///< by the terminate flag
  Stopped,      ///< by the solver, for numerical difficulties and the like
  SetupFailed,  ///< the solver did not take the model
  SolverFailed,
};

/// Basis status of a column or row.
enum BasisStatus : int { AtLower = 0, AtUpper = 1, Basic = 2, SuperBasic = 3 };

/// Status of a column or row: whether its level is as it must be.
enum EntryStatus : int { EntryOk = 0, EntryNotOptimal = 1 };

/// The numbers of the host's header.
struct Statuses {
  int model;
  int solve;
};

inline constexpr Statuses kNotSolved = {14, 0};

/// Of an outcome, with or without levels that satisfy all rows and bounds, for a model with or
/// without integer columns.
Statuses statusesOf(Outcome outcome, bool hasLevels, bool isInteger);

/// Whether the call of a solver counts as failed.
inline bool isFailure(Outcome outcome) {
  return outcome == Outcome::SetupFailed || outcome == Outcome::SolverFailed;
}

const char* modelStatusText(int status);
const char* solveStatusText(int status);

}  // namespace zdb::kit
