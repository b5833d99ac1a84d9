// The names of what is to change in a model: need[ABE].rhs, buy.lo, cost[food].coef[buy,bread].
#pragma once

#include <string>

#include "kit/modelfile/names.h"

namespace zdb::kit::modelfile {

/// What of rows or columns changes. `Value` is that of updatable parameters, which are named
/// without an attribute.
enum class Attribute : unsigned char { Value, Rhs, Lower, Upper, Both, Cost, Coefficient };

struct ChangeName {
  std::string written;
  Attribute attribute = Attribute::Value;
  SymbolicName target;  ///< a row or column; without labels, all of the symbol
  SymbolicName column;  ///< of a coefficient, likewise
};

/// Parses a name. Attributes are .rhs, .lo, .up, .fx, .cost and .coef[SYMBOL,LABEL,...], where
/// .coef[SYMBOL[LABEL,...]] is the same. Throws a ReadError that lists them if it is another one.
ChangeName parseChange(const std::string& written);

}  // namespace zdb::kit::modelfile
