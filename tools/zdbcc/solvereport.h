#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console.h"
#include "infeasible.h"
#include "model.h"
#include "solution.h"

namespace zdb::tool {

/// What is told of a model after a solve.
class SolveReport {
 public:
  SolveReport(const Model& model, std::string solver,
              const std::optional<InfeasibleSet>& infeasible)
      : model_(model), solver_(std::move(solver)), infeasible_(infeasible) {}

  /// Lines for people; numbers have ten digits.
  void print(Console& console) const;
  /// The most important of that, on standard error.
  void note(Console& console) const;
  /// An object, with what --show asks for; numbers have all digits.
  void writeJson(const std::vector<Shown>& shown, Console& console) const;

 private:
  bool hasObjective() const;
  /// Whether a search for integer levels has told how good the objective can get.
  bool hasBound() const;

  const Model& model_;
  std::string solver_;
  const std::optional<InfeasibleSet>& infeasible_;
};

}  // namespace zdb::tool
