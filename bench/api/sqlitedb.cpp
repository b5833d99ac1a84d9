#include "sqlitedb.h"

#include <cstdio>
#include <cstdlib>

namespace {

void require(bool holds, sqlite3* db) {
  if (holds) return;
  std::fprintf(stderr, "SQLite: %s\n", sqlite3_errmsg(db));
  std::abort();
}

}  // namespace

SqliteDb::SqliteDb() {
  require(sqlite3_open(":memory:", &db_) == SQLITE_OK, db_);
}

SqliteDb::~SqliteDb() {
  sqlite3_close(db_);
}

void SqliteDb::run(const char* sql) {
  require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, db_);
}

sqlite3_stmt* SqliteDb::prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK, db_);
  return statement;
}

bool stepOnce(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  require(result == SQLITE_ROW || result == SQLITE_DONE, sqlite3_db_handle(statement));
  sqlite3_reset(statement);
  return result == SQLITE_ROW;
}
