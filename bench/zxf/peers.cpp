#include "peers.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace {

void check(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "bench_zxf: %s failed\n", what);
  std::exit(1);
}

void execute(sqlite3* db, const char* text) {
  check(sqlite3_exec(db, text, nullptr, nullptr, nullptr) == SQLITE_OK, text);
}

constexpr std::size_t kRecordSize = 20;

}  // namespace

/// The fastest regular way: one transaction, one prepared statement, rows in key order, no rowid.
void writeSqlite(const char* path, const std::vector<Row>& rows) {
  std::filesystem::remove(path);
  sqlite3* db = nullptr;
  check(sqlite3_open(path, &db) == SQLITE_OK, "opening SQLite");
  execute(db, "create table r(i int, j int, k int, v real, primary key(i, j, k)) without rowid");
  execute(db, "begin");
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "insert into r values(?,?,?,?)", -1, &insert, nullptr);
  for (const Row& row : rows) {
    for (int d = 0; d < 3; ++d) sqlite3_bind_int(insert, d + 1, row.key[d]);
    sqlite3_bind_double(insert, 4, row.value);
    check(sqlite3_step(insert) == SQLITE_DONE, "inserting");
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  execute(db, "commit");
  sqlite3_close(db);
}

double readSqlite(const char* path) {
  sqlite3* db = nullptr;
  check(sqlite3_open(path, &db) == SQLITE_OK, "opening SQLite");
  sqlite3_stmt* select = nullptr;
  sqlite3_prepare_v2(db, "select i, j, k, v from r order by i, j, k", -1, &select, nullptr);
  double sum = 0;
  while (sqlite3_step(select) == SQLITE_ROW) {
    for (int d = 0; d < 3; ++d) sum += sqlite3_column_int(select, d);
    sum += sqlite3_column_double(select, 3);
  }
  sqlite3_finalize(select);
  sqlite3_close(db);
  return sum;
}

void writeStdio(const char* path, const std::vector<Row>& rows) {
  std::FILE* file = std::fopen(path, "wb");
  check(file != nullptr, "opening for stdio");
  for (const Row& row : rows) {
    char record[kRecordSize];
    std::memcpy(record, row.key.data(), 12);
    std::memcpy(record + 12, &row.value, 8);
    check(std::fwrite(record, kRecordSize, 1, file) == 1, "writing through stdio");
  }
  check(std::fflush(file) == 0 && fsync(fileno(file)) == 0, "syncing");
  std::fclose(file);
}

double readStdio(const char* path) {
  std::FILE* file = std::fopen(path, "rb");
  check(file != nullptr, "opening for stdio");
  double sum = 0;
  for (char record[kRecordSize]; std::fread(record, kRecordSize, 1, file) == 1;) {
    Row row;
    std::memcpy(row.key.data(), record, 12);
    std::memcpy(&row.value, record + 12, 8);
    for (const int label : row.key) sum += label;
    sum += row.value;
  }
  std::fclose(file);
  return sum;
}
