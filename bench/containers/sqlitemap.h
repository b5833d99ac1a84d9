#pragma once

#include <sqlite3.h>

#include <cstdint>

#include "cube.h"

/// A table in memory whose primary key is the three labels, with prepared statements, in one
/// transaction. Any error ends the program.
class SqliteMap {
 public:
  SqliteMap();
  ~SqliteMap();
  SqliteMap(const SqliteMap&) = delete;
  SqliteMap& operator=(const SqliteMap&) = delete;

  void append(const Key& key, double value) { insert(key, value); }
  void insert(const Key& key, double value);
  double value(const Key& key);
  double sum();
  void erase(const Key& key);
  static std::int64_t bytes() { return sqlite3_memory_used(); }

 private:
  sqlite3_stmt* prepare(const char* sql);
  void run(const char* sql);
  void require(bool holds);
  static void bind(sqlite3_stmt* statement, const Key& key);

  sqlite3* db_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* find_ = nullptr;
  sqlite3_stmt* walk_ = nullptr;
  sqlite3_stmt* erase_ = nullptr;
};
