// SQLite's functions: straight from the library in the tool, through the table that the host hands
// over in a loadable extension.
#pragma once

#include <sqlite3ext.h>

SQLITE_EXTENSION_INIT3
