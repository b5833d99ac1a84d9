// What is known about a model without calling a solver.
#pragma once

#include <optional>

#include "kit/linearmodel.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

/// Throws a KitError if a cost, coefficient or right-hand side is not a finite number, which levels
/// of parameters can cause, or if levels would have to be larger than the solver takes. The second
/// looks at changes only.
void checkNumbers(const LinearModel& model, const Engine& engine);
void checkNumbers(const LinearModel& model, const Changes& changes, const Engine& engine);

/// Whether bounds of a column exclude each other. The second looks at changes only.
bool hasExcludingBounds(const LinearModel& model);
bool hasExcludingBounds(const LinearModel& model, const Changes& changes);

/// The outcome, and the solution if it is optimal, for models that some solvers do not accept:
/// those with bounds that exclude each other, as is told, or without coefficients. Otherwise
/// nothing.
std::optional<Outcome> solveDirectly(const LinearModel& model, bool areBoundsExcluding,
                                     Solution& solution);

}  // namespace zdb::kit
