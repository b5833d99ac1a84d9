#pragma once

#include "core/abstractzdbsymbol.h"

namespace zdb {

/// Default rows of variables and equations by subtype: level, marginal, lower, upper, scale. An
/// unknown subtype counts as 0.
const double* defaultVariableRow(int subtype);
const double* defaultEquationRow(int subtype);

/// The row of a new record of this symbol: one of the given rows for variables and equations, zeros
/// for sets and parameters.
inline const double* pickDefaultRow(int type, const double* variableRow,
                                    const double* equationRow) {
  static constexpr double zeros[kMaxValues] = {};
  if (type == TypeVariable) return variableRow;
  return type == TypeEquation ? equationRow : zeros;
}
inline const double* defaultRow(const AbstractZDBSymbol& symbol) {
  return pickDefaultRow(symbol.type, defaultVariableRow(symbol.userInfo),
                        defaultEquationRow(symbol.userInfo));
}

}  // namespace zdb
