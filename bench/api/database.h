#pragma once

#include <benchmark/benchmark.h>

#include "dataset.h"
#include "zdbcc.hpp"

/// Ends the program unless `holds` is true: a figure for a failed call would be worthless.
void require(bool holds, const char* what);

void countRecords(benchmark::State& state);

/// A database with the labels and an empty three-dimensional parameter with the given storage. The
/// domains are sets of the labels that occur at each position.
class Database {
 public:
  explicit Database(int storage = ZDB_STORAGE_MAP);

  /// Adds the records of the data set.
  void load();
  /// The number of records, by a walk that reads each level.
  int walk() const;
  zdbHandle_t db() const { return db_.handle(); }
  zdbSymbol_t symbol() const { return symbol_.handle(); }

 private:
  zdbcc::Database db_;
  zdbcc::Symbol symbol_;
};
