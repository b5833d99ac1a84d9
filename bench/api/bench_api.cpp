// Records through the exported interface, compared with the container that holds them (plus the
// label look-ups that a call makes) and with SQLite in memory with prepared statements.

#include <benchmark/benchmark.h>

#include <memory>

#include "core/uellist.h"
#include "database.h"
#include "dataset.h"
#include "dmap/dmap.h"
#include "sqlitedb.h"
#include "timeload.h"

namespace {

void loadContainer(zdb::dmap::DMap& map) {
  const Dataset& data = dataset();
  for (std::size_t i = 0; i < data.keys.size(); ++i) {
    zdb::dmap::DMapIterator hint = map.end();
    map.insert_or_assign(hint, data.keys[i].data(), &data.values[i]);
  }
}

void bindTexts(sqlite3_stmt* statement, const std::array<const char*, 3>& texts) {
  for (int d = 0; d < 3; ++d) {
    sqlite3_bind_text(statement, d + 1, texts.data()[d], -1, SQLITE_STATIC);
  }
}

/// The table in which a host would keep records: with label numbers or texts.
void loadSqlite(SqliteDb& db, bool asTexts) {
  const Dataset& data = dataset();
  db.run(asTexts
             ? "CREATE TABLE r(i TEXT, j TEXT, k TEXT, v REAL, PRIMARY KEY(i,j,k)) WITHOUT ROWID"
             : "CREATE TABLE r(i INT, j INT, k INT, v REAL, PRIMARY KEY(i,j,k)) WITHOUT ROWID");
  db.run("BEGIN");
  sqlite3_stmt* insert = db.prepare("INSERT OR REPLACE INTO r VALUES(?,?,?,?)");
  for (std::size_t i = 0; i < data.keys.size(); ++i) {
    if (asTexts) {
      bindTexts(insert, data.texts[i]);
    } else {
      for (int d = 0; d < 3; ++d) sqlite3_bind_int(insert, d + 1, data.keys[i].data()[d]);
    }
    sqlite3_bind_double(insert, 4, data.values[i]);
    stepOnce(insert);
  }
  sqlite3_finalize(insert);
  db.run("COMMIT");
}

// ---- merge, sorted, without handles

template <typename Fresh, typename Load>
void timeLoadOfAll(benchmark::State& state, Fresh fresh, Load load) {
  dataset();
  ::timeLoad(state, fresh, load);
  countRecords(state);
}

void MergeSorted_Interface(benchmark::State& state) {
  timeLoadOfAll(
      state, [] { return std::make_unique<Database>(); }, [](Database& db) { db.load(); });
}
void MergeSorted_Container(benchmark::State& state) {
  timeLoadOfAll(
      state, [] { return std::make_unique<zdb::dmap::DMap>(3, 1); }, loadContainer);
}
void MergeSorted_SqliteNumbers(benchmark::State& state) {
  timeLoadOfAll(state, std::make_unique<SqliteDb>, [](SqliteDb& db) { loadSqlite(db, false); });
}
void MergeSorted_SqliteTexts(benchmark::State& state) {
  timeLoadOfAll(state, std::make_unique<SqliteDb>, [](SqliteDb& db) { loadSqlite(db, true); });
}

// ---- find by texts, in random order

void FindByTexts_Interface(benchmark::State& state) {
  const Dataset& data = dataset();
  Database db;
  db.load();
  for (auto _ : state) {
    int found = 0;
    for (const auto& keys : data.shuffled) {
      zdbRecord_t record;
      found += c__zdbfindrecord(db.db(), db.symbol(), keys.data(), &record);
      c__zdbfreesymboliterator(db.db(), record);
    }
    require(found == Dataset::kRecords, "find by texts");
  }
  countRecords(state);
}

void FindByTexts_ContainerAndLabels(benchmark::State& state) {
  const Dataset& data = dataset();
  zdb::LastError error;
  zdb::uellist::UELList labels(error);
  int number;
  for (const std::string& label : data.labels) labels.merge(label.c_str(), number);
  zdb::dmap::DMap map(3, 1);
  loadContainer(map);
  for (auto _ : state) {
    int found = 0;
    for (const auto& texts : data.shuffled) {
      int keys[3];
      for (std::size_t d = 0; d < 3; ++d) labels.find(texts[d], keys[d]);
      found += map.find(keys) != map.end() ? 1 : 0;
    }
    require(found == Dataset::kRecords, "find in the container");
  }
  countRecords(state);
}

void findInSqlite(benchmark::State& state, SqliteDb& db, const char* query) {
  sqlite3_stmt* select = db.prepare(query);
  for (auto _ : state) {
    int found = 0;
    for (const auto& texts : dataset().shuffled) {
      bindTexts(select, texts);
      found += stepOnce(select) ? 1 : 0;
    }
    require(found == Dataset::kRecords, "find in SQLite");
  }
  sqlite3_finalize(select);
  countRecords(state);
}

void FindByTexts_SqliteTexts(benchmark::State& state) {
  SqliteDb db;
  loadSqlite(db, true);
  findInSqlite(state, db, "SELECT v FROM r WHERE i=? AND j=? AND k=?");
}

void FindByTexts_SqliteNumbers(benchmark::State& state) {
  const Dataset& data = dataset();
  SqliteDb db;
  loadSqlite(db, false);
  db.run("CREATE TABLE label(t TEXT PRIMARY KEY, n INT) WITHOUT ROWID");
  sqlite3_stmt* insert = db.prepare("INSERT INTO label VALUES(?,?)");
  for (std::size_t i = 0; i < data.labels.size(); ++i) {
    sqlite3_bind_text(insert, 1, data.labels[i].c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_int(insert, 2, static_cast<int>(i) + 1);
    stepOnce(insert);
  }
  sqlite3_finalize(insert);
  findInSqlite(state, db,
               "SELECT v FROM r WHERE i=(SELECT n FROM label WHERE t=?) AND "
               "j=(SELECT n FROM label WHERE t=?) AND k=(SELECT n FROM label WHERE t=?)");
}

// ---- walk

void Walk_Interface(benchmark::State& state) {
  dataset();
  Database db;
  db.load();
  for (auto _ : state) require(db.walk() == Dataset::kRecords, "walk");
  countRecords(state);
}

void Walk_Container(benchmark::State& state) {
  zdb::dmap::DMap map(3, 1);
  loadContainer(map);
  for (auto _ : state) {
    double sum = 0;
    const zdb::dmap::DMapIterator end = map.end();
    for (zdb::dmap::DMapIterator it = map.begin(); it != end; ++it) sum += *(*it).second;
    benchmark::DoNotOptimize(sum);
  }
  countRecords(state);
}

void Walk_SqliteNumbers(benchmark::State& state) {
  SqliteDb db;
  loadSqlite(db, false);
  sqlite3_stmt* select = db.prepare("SELECT i,j,k,v FROM r ORDER BY i,j,k");
  for (auto _ : state) {
    double sum = 0;
    while (sqlite3_step(select) == SQLITE_ROW) sum += sqlite3_column_double(select, 3);
    sqlite3_reset(select);
    benchmark::DoNotOptimize(sum);
  }
  sqlite3_finalize(select);
  countRecords(state);
}

// Few iterations are enough, since each works on a million records.
#define ZDB_BENCHMARK(function) BENCHMARK(function)->Unit(benchmark::kMillisecond)->MinTime(0.3)
ZDB_BENCHMARK(MergeSorted_Interface);
ZDB_BENCHMARK(MergeSorted_Container);
ZDB_BENCHMARK(MergeSorted_SqliteNumbers);
ZDB_BENCHMARK(MergeSorted_SqliteTexts);
ZDB_BENCHMARK(FindByTexts_Interface);
ZDB_BENCHMARK(FindByTexts_ContainerAndLabels);
ZDB_BENCHMARK(FindByTexts_SqliteNumbers);
ZDB_BENCHMARK(FindByTexts_SqliteTexts);
ZDB_BENCHMARK(Walk_Interface);
ZDB_BENCHMARK(Walk_Container);
ZDB_BENCHMARK(Walk_SqliteNumbers);

}  // namespace
