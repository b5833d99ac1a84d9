// Decides how a model is made so that what somebody wants to change in it can be changed.
#pragma once

#include <string>
#include <vector>

#include "kit/instance.h"
#include "kit/modelfile/plan.h"

namespace zdb::kit::modelfile {

/// A column that is added for a value that can be changed: an updatable parameter that stands for
/// the right-hand side of a row, the constant of the objective, or a coefficient. Rows and columns
/// are those of the plan, from 1.
struct ChangeColumn {
  enum class Place : unsigned char { Rhs, Constant, Coefficient };
  Placement at;
  Place place;
  int row;
  int column;          ///< of a coefficient
  double value = 0.0;  ///< in the file
};

struct ChangePlan {
  std::vector<ChangeColumn> columns;  ///< after those of the model plan
  std::vector<ChangeInfo> made;       ///< by change
};

/// Adds the symbols of such columns to the plan, NAME_rhs_var, NAME_cost_var and
/// NAME_coef_COLUMN_var, with a number before "_var" if a symbol of the model is in the way of the
/// parameter or the variable. Bounds need none: they belong to symbols that are there. The
/// params are for guesses. Throws a ReadError about a name that stands for nothing in the model.
ChangePlan planChanges(const FileModel& file, ModelPlan& plan,
                       const std::vector<std::string>& changes,
                       const std::vector<std::string>& params);

}  // namespace zdb::kit::modelfile
