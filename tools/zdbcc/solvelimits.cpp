#include "solvelimits.h"

#include <cmath>
#include <string>

#include "zkitdclib.h"

namespace zdb::tool {

void SolveLimits::check() const {
  if (seconds && !(std::isfinite(*seconds) && *seconds > 0)) {
    throw WrongUseError("--time-limit must be a number of seconds above 0");
  }
  if (gap && !(std::isfinite(*gap) && *gap >= 0)) {
    throw WrongUseError("--gap must be a ratio from 0 on, such as 0.01 for one percent");
  }
  if (megabytes && *megabytes == 0) throw WrongUseError("--memory-limit must be 1 MiB or more");
}

void SolveLimits::apply(void* instance) const {
  zkitSetLimits(instance, seconds.value_or(0), 0);
  zkitSetGap(instance, gap.value_or(0), 0);
}

}  // namespace zdb::tool
