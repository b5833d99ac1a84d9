#pragma once

#include <string>

#include "core/zdb.h"

namespace zdb {

/// A step line of a long operation, written when the debug level is at least `level`. Steps stand
/// one depth below the API call that they belong to.
inline void traceStep(const char* text, int level = 1) {
  if (ZDB::debugLevel >= level) debug_out(text, level + 1);
}

inline void traceStep(const char* text, const char* detail, int level) {
  if (ZDB::debugLevel >= level) debug_out((std::string(text) + detail).c_str(), level + 1);
}

}  // namespace zdb
