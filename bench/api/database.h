#pragma once

#include <benchmark/benchmark.h>

#include "dataset.h"
#include "zdbcclib.h"

/// Ends the program unless `holds` is true: a figure for a failed call would be worthless.
void require(bool holds, const char* what);

void countRecords(benchmark::State& state);

/// A database with the labels and an empty three-dimensional parameter with the given storage. The
/// domains are sets of the labels that occur at each position.
class Database {
 public:
  explicit Database(int storage = ZDB_STORAGE_MAP);
  ~Database() { zdbfree(&db_); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  /// Adds the records of the data set.
  void load();
  /// The number of records, by a walk that reads each level.
  int walk() const;
  zdbHandle_t db() const { return db_; }
  zdbSymbol_t symbol() const { return symbol_; }
  void setSymbol(zdbSymbol_t symbol) { symbol_ = symbol; }

 private:
  zdbSymbol_t addDomain(int position);

  zdbHandle_t db_ = nullptr;
  zdbSymbol_t symbol_ = nullptr;
};
