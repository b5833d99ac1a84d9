#pragma once

#include <string>

#include "contract/failures.h"
#include "core/lasterror.h"
#include "loaders/zrt.h"

namespace zdb {

/// Why the kit's last call for a configuration or a solver failed, which those calls cannot say;
/// empty for a kit that does not tell.
inline std::string lastSolverFailure(loaders::zrtRec* environment) {
  char text[kMessageSize] = "";
  loaders::zrtGetStrOpt(environment, contract::kLastFailureOption, text);
  return text;
}

}  // namespace zdb
