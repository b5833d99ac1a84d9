#pragma once

#include <string>

#include "core/zdb.h"

namespace zdb {

/// Writes a trace line for a step of a long operation if the debug level is at least `level`. Steps
/// are indented one level deeper than the API call that they belong to.
inline void traceStep(const char* text, int level = 1) {
  if (ZDB::debugLevel >= level) debug_out(text, level + 1);
}

inline void traceStep(const char* text, const char* detail, int level) {
  if (ZDB::debugLevel >= level) debug_out((std::string(text) + detail).c_str(), level + 1);
}

}  // namespace zdb
