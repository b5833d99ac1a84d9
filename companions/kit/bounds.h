// Which bounds are none.
#pragma once

#include <limits>

namespace zdb::kit {

/// Bounds of this size or more are infinite, for hosts and model files alike.
inline constexpr double kInfiniteBound = 1.0E300;

/// Finite bounds, right-hand sides and levels must be smaller: from here on, clp aborts the
/// process.
inline constexpr double kLimitOfNumbers = 1.0E100;

/// A bound as it is kept.
inline double asBound(double value) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  if (value >= kInfiniteBound) return infinity;
  return value <= -kInfiniteBound ? -infinity : value;
}

}  // namespace zdb::kit
