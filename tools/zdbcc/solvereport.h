#pragma once

#include <string>
#include <vector>

#include "console.h"
#include "model.h"
#include "solution.h"

namespace zdb::tool {

/// What is told of a model after a solve.
class SolveReport {
 public:
  explicit SolveReport(const Model& model) : model_(model) {}

  /// Lines for people; numbers have ten digits.
  void print(Console& console) const;
  /// Status and objective on a line.
  std::string summary() const;
  /// An object, with what --show asks for; numbers have all digits.
  void writeJson(const std::vector<Shown>& shown, Console& console) const;

 private:
  bool hasObjective() const;

  const Model& model_;
};

}  // namespace zdb::tool
