// What is known about a model without calling a solver.
#pragma once

#include <optional>

#include "kit/linearmodel.h"

namespace zdb::kit {

/// Throws a KitError if a cost, coefficient or right-hand side is not a finite number, which levels
/// of parameters can cause.
void checkNumbers(const LinearModel& model);

/// The outcome, and the solution if it is optimal, for models that some solvers do not accept:
/// those with bounds that exclude each other, or without coefficients. Otherwise nothing.
std::optional<Outcome> solveDirectly(const LinearModel& model, Solution& solution);

}  // namespace zdb::kit
