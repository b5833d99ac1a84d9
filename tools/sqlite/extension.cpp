// What the loadable extension exports: the function that SQLite calls when it loads it.
#include <new>

#include <sqlite3ext.h>

#include "symboltables.h"

SQLITE_EXTENSION_INIT1

// SQLite makes this name of the library's, zdbcc_sqlite.
extern "C" __attribute__((visibility("default"))) int sqlite3_zdbccsqlite_init(
    sqlite3* db, char** message, const sqlite3_api_routines* api) {
  SQLITE_EXTENSION_INIT2(api);
  constexpr int kFirstWithDirectOnly = 3031000;
  if (sqlite3_libversion_number() < kFirstWithDirectOnly) {
    *message = sqlite3_mprintf("zdbcc_sqlite needs SQLite 3.31 or later");
    return SQLITE_ERROR;
  }
  try {
    const int code = zdb::sqlite::addSymbolTables(db);
    return code == SQLITE_OK ? zdb::sqlite::addAttachFunction(db) : code;
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  }
}
