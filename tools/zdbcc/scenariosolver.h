// Solves scenarios of a model, in any order.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "modelchange.h"
#include "output.h"
#include "rowwriter.h"
#include "scenarios.h"
#include "solution.h"
#include "sweepoptions.h"
#include "values.h"

namespace zdb::tool {

/// The status in the results of a scenario that could not be solved at all.
inline constexpr const char* kFailedStatus = "Failed";

/// What is known of a scenario that was tried. Its texts go to the results as they are, wherever
/// they were made.
struct ScenarioResult {
  std::string row;      ///< a line of CSV or a JSON object, with its line feed
  std::string records;  ///< lines of CSV, of the table in long form
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
  /// The model, with what was read from where it can be read once only.
  const ModelSource& source() const { return options_.model; }
  /// The names of the cells of a row.
  const std::vector<std::string>& columns() const { return columns_; }
  /// Those of the table in long form; none if nothing is shown in it.
  const std::vector<std::string>& recordColumns() const { return recordColumns_; }
  /// What that shows.
  const std::vector<Shown>& shownSymbols() const { return shownSymbols_; }
  /// The name of the solver that is used.
  std::string solver();
  /// What each column of the scenarios changes, for people.
  std::vector<std::string> changes() const;

  /// Solves a scenario. If solves start at the model's own basis, the result depends on nothing but
  /// the scenario. Throws InterruptedError after Ctrl-C; what else goes wrong is the result's
  /// failure.
  ScenarioResult solve(std::size_t scenario);
  /// The result of a scenario that could not be tried to the end.
  ScenarioResult failedResult(std::size_t scenario, const std::string& why);
  /// Solves the model as it is; its result has no row.
  const ScenarioResult& solveBase();

 private:
  /// An entry that is a column of its own.
  struct ShownEntry {
    std::string text;  ///< as it was written
    Entry entry;
  };

  void open();
  void bindShown();
  void nameColumns();
  ScenarioResult trySolving(std::size_t scenario);
  /// Whether the last scenario has other rows or columns, and so a model of its own.
  bool isOwn() const { return model_ != &changing_->model(); }
  std::optional<double> levelOf(const Entry& entry);
  std::vector<Shown> shownOfOwn() const;
  std::string rowOf(std::size_t scenario, const ScenarioResult& result);
  std::string recordsOf(std::size_t scenario);
  /// Number of the scenario in which nothing changes.
  std::size_t base() const { return scenarios_.count(); }

  const SweepOptions options_;
  Scenarios scenarios_;
  std::unique_ptr<ChangingModel> changing_;
  Model* model_ = nullptr;  ///< with the values of the last scenario
  std::vector<ShownEntry> shownEntries_;
  std::vector<Shown> shownSymbols_;     ///< in long form
  int width_ = 0;                       ///< most labels of these
  std::optional<ScenarioResult> base_;  ///< once it was solved
  std::vector<std::string> columns_;
  std::vector<std::string> recordColumns_;
  TextOutput text_;
  RowWriter row_;
};

}  // namespace zdb::tool
