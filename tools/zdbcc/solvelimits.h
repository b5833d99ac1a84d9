#pragma once

#include <optional>
#include <vector>

#include "verb.h"

namespace zdb::tool {

/// How far a solver may go.
struct SolveLimits {
  std::optional<double> seconds;
  std::optional<double> gap;  ///< of an objective, relative to it
  std::optional<unsigned> megabytes;

  /// Throws WrongUseError for a number that is none of these.
  void check() const;
  /// Hands those that a solver keeps to on to an instance, for all its solves.
  void apply(void* instance) const;
};

/// The options of a verb that solves.
template <typename Options>
std::vector<Option> limitOptions(SolveLimits Options::*limits) {
  return {{.name = "time-limit",
           .value = "SECONDS",
           .kind = Kind::Number,
           .text = "Stop a solve after so long",
           .details = "The best solution that was found by then is the result.",
           .target = into(limits, &SolveLimits::seconds)},
          {.name = "gap",
           .value = "RATIO",
           .kind = Kind::Number,
           .text = "Stop a search for integer levels this close to the best objective",
           .details = "`0.01` is one percent of the objective.",
           .target = into(limits, &SolveLimits::gap)},
          {.name = "memory-limit",
           .value = "MB",
           .kind = Kind::Number,
           .text = "Fail where more memory would be needed",
           .details = "In MiB, for reading and solving.",
           .target = into(limits, &SolveLimits::megabytes)}};
}

}  // namespace zdb::tool
