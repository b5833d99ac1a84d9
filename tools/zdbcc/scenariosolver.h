// Solves scenarios of a model, in any order.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "output.h"
#include "rowwriter.h"
#include "scenarios.h"
#include "sweepoptions.h"
#include "values.h"

namespace zdb::tool {

/// What is known of a scenario that was tried. Its texts go to the results as they are, wherever
/// they were made.
struct ScenarioResult {
  std::string row;  ///< a line of CSV or a JSON object, with its line feed
  std::optional<double> objective;
  std::string failure;  ///< why the scenario could not be solved at all; empty if it was
};

/// A model with its scenarios, opened once in each process that solves some of them. The same
/// options and files give the same results everywhere.
class ScenarioSolver {
 public:
  /// Reads model and scenarios, and finds everything that they name. Throws ToolError for what is
  /// not there, so that nothing is solved before all is known to be right.
  explicit ScenarioSolver(const SweepOptions& options);

  const Scenarios& scenarios() const { return scenarios_; }
  /// The names of the cells of a row.
  const std::vector<std::string>& columns() const { return columns_; }

  /// Solves a scenario. If solves start at the model's own basis, the result depends on nothing but
  /// the scenario. Throws InterruptedError after Ctrl-C; what else goes wrong is the result's
  /// failure.
  ScenarioResult solve(std::size_t scenario);
  /// Solves the model as it is; its result has no row.
  const ScenarioResult& solveBase();

 private:
  /// What a column of the scenarios changes: an entry of an updatable parameter.
  struct Target {
    std::string symbol;
    std::vector<std::string> labels;
  };

  void open();
  void bind();
  void bindTarget(const Entry& entry);
  void requireOneColumnEach() const;
  void requireFiniteValues() const;
  void apply(std::optional<std::size_t> scenario);
  ScenarioResult trySolving(std::optional<std::size_t> scenario);
  std::string rowOf(std::size_t scenario);

  const SweepOptions options_;
  std::unique_ptr<Model> model_;
  Scenarios scenarios_;
  std::vector<Target> targets_;
  std::map<std::string, zdbcc::Symbol> parameters_;
  std::vector<Entry> shown_;
  std::optional<ScenarioResult> base_;  ///< once it was solved
  std::vector<std::string> columns_;
  ValueFormat format_;
  TextOutput text_;
  RowWriter row_;
};

}  // namespace zdb::tool
