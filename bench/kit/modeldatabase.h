// A database that is tied to an instance, with one updatable parameter.
#pragma once

#include <vector>

#include "zdbcc.hpp"

class ModelDatabase {
 public:
  /// REQUIRES the labels of the parameter are "1" to `count`.
  ModelDatabase(void* instance, const char* parameter, int count);

  /// Writes the parameter's records, in one call, and then their values to the instance.
  void set(const std::vector<double>& values);
  void update();
  void solve(const char* solver) { db_.solve(solver); }
  /// The level of a symbol without index positions, read from the solution.
  double level(const char* symbol) const { return db_.symbol(symbol)[{}]; }
  /// Walks all records of a symbol, which first loads them if needed.
  int count(const char* symbol) const;

 private:
  zdbcc::Database db_;
  zdbcc::Symbol parameter_;
  std::vector<int> labels_;
};
