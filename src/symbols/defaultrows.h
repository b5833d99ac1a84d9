#pragma once

namespace zdb {

/// Rows that new records of variables and equations get, by subtype: level, marginal, lower, upper,
/// scale. A subtype outside the table counts as 0.
const double* defaultVariableRow(int subtype);
const double* defaultEquationRow(int subtype);

}  // namespace zdb
