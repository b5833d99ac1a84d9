// Which rows and bounds make a model infeasible.
#pragma once

#include <vector>

namespace zdb::kit {

class Instance;

enum Side : int { LowerSide = 1, UpperSide = 2 };

/// A row or column, and which of its sides count, added up.
struct Conflicting {
  int number;
  int sides;
};

/// Rows and bounds of columns that no levels satisfy together. Numbers are those of an instance,
/// ascending.
struct InfeasibleSet {
  std::vector<Conflicting> rows;
  std::vector<Conflicting> columns;
  bool isIrreducible = false;  ///< without any one of its sides, the rest can be satisfied
};

/// Finds such a set in an instance as it is now, with integer columns as continuous ones whose
/// bounds are whole. One linear model with two more columns for each row gives a set that is
/// infeasible, by its duals; then each side of that is tried without, from the last basis. When the
/// seconds (0: no limit) are over or on request, what is left is returned as it is. Throws a
/// KitError if there is none, if the time was up before one was found, or if the kit has no solver
/// for it.
InfeasibleSet findInfeasibleSet(Instance& instance, double seconds);

}  // namespace zdb::kit
