#pragma once

#include <sqlite3.h>

/// An SQLite database in memory with statements that are prepared once. Any error ends the program:
/// a benchmark of a failed call is worthless.
class SqliteDb {
 public:
  SqliteDb();
  ~SqliteDb();
  SqliteDb(const SqliteDb&) = delete;
  SqliteDb& operator=(const SqliteDb&) = delete;

  void run(const char* sql);
  /// The caller finalizes it before the database is closed.
  sqlite3_stmt* prepare(const char* sql);

 private:
  sqlite3* db_ = nullptr;
};

/// Steps once and resets; returns whether there was a row.
bool stepOnce(sqlite3_stmt* statement);
