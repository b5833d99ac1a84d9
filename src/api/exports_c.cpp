#include "api/forward.h"

// The c__ family: every function of the table, with its arguments passed on unchanged.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the interface.

#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...) \
  extern "C" result c__##lower parameters {                        \
    return zdb::forward<result, &zdb::name> arguments;             \
  }
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"

// NOLINTEND(bugprone-reserved-identifier)
