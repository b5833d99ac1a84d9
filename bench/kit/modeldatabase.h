// A database that is tied to an instance, with one updatable parameter.
#pragma once

#include <vector>

#include "zdbcclib.h"

class ModelDatabase {
 public:
  /// REQUIRES the labels of the parameter are "1" to `count`.
  ModelDatabase(void* instance, const char* parameter, int count);
  ~ModelDatabase();
  ModelDatabase(const ModelDatabase&) = delete;
  ModelDatabase& operator=(const ModelDatabase&) = delete;

  /// Writes the parameter's records, and then their values to the instance.
  void set(const std::vector<double>& values);
  void update();
  void solve(const char* solver);
  /// The level of a symbol without index positions, read from the solution.
  double level(const char* symbol) const;
  /// Walks all records of a symbol, which first loads them if needed.
  int count(const char* symbol) const;

 private:
  void check(int isDone) const;

  zdbHandle_t db_ = nullptr;
  zdbSymbol_t parameter_ = nullptr;
  std::vector<int> labels_;
};
