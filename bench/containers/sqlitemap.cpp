#include "sqlitemap.h"

#include <cstdio>
#include <cstdlib>

SqliteMap::SqliteMap() {
  require(sqlite3_open(":memory:", &db_) == SQLITE_OK);
  run("create table r (i int, j int, k int, v real, primary key (i, j, k)) without rowid");
  insert_ = prepare("insert into r values (?, ?, ?, ?)");
  find_ = prepare("select v from r where i = ? and j = ? and k = ?");
  walk_ = prepare("select v from r order by i, j, k");
  erase_ = prepare("delete from r where i = ? and j = ? and k = ?");
  run("begin");
}

SqliteMap::~SqliteMap() {
  for (sqlite3_stmt* statement : {insert_, find_, walk_, erase_}) sqlite3_finalize(statement);
  sqlite3_close(db_);
}

void SqliteMap::insert(const Key& key, double value) {
  bind(insert_, key);
  sqlite3_bind_double(insert_, 4, value);
  require(sqlite3_step(insert_) == SQLITE_DONE);
  sqlite3_reset(insert_);
}

double SqliteMap::value(const Key& key) {
  bind(find_, key);
  require(sqlite3_step(find_) == SQLITE_ROW);
  const double value = sqlite3_column_double(find_, 0);
  sqlite3_reset(find_);
  return value;
}

double SqliteMap::sum() {
  double total = 0;
  while (sqlite3_step(walk_) == SQLITE_ROW) total += sqlite3_column_double(walk_, 0);
  sqlite3_reset(walk_);
  return total;
}

void SqliteMap::erase(const Key& key) {
  bind(erase_, key);
  require(sqlite3_step(erase_) == SQLITE_DONE);
  sqlite3_reset(erase_);
}

sqlite3_stmt* SqliteMap::prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK);
  return statement;
}

void SqliteMap::run(const char* sql) {
  require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK);
}

void SqliteMap::require(bool holds) {
  if (holds) return;
  std::fprintf(stderr, "SQLite: %s\n", sqlite3_errmsg(db_));
  std::abort();
}

void SqliteMap::bind(sqlite3_stmt* statement, const Key& key) {
  for (int i = 0; i < 3; ++i) {
    sqlite3_bind_int(statement, i + 1, key[static_cast<std::size_t>(i)]);
  }
}
