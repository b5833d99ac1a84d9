// Where the results of a sweep go.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "aheadresults.h"
#include "appendfile.h"
#include "console.h"
#include "part.h"
#include "scenariosolver.h"
#include "sweepexchange.h"
#include "sweepoptions.h"

namespace zdb::tool {

/// Takes the results in the order of the scenarios and writes each at once, so that they are there
/// whatever happens to the next.
class SweepWriter {
 public:
  /// Opens what the options name and writes headings, or finds where an earlier sweep ended. Throws
  /// ToolError, before anything is overwritten, for files that are there, that cannot be written,
  /// or whose sweep was another one.
  SweepWriter(const SweepOptions& options, ScenarioSolver& solver, Console& console);

  /// How many scenarios are done, those of an earlier sweep included.
  std::size_t count() const { return objectives_.size(); }
  /// The first scenario, the next one, and the one after the last: all, or those of a part.
  std::size_t first() const { return part_.begin(scenarios_.count()); }
  std::size_t next() const { return first() + count(); }
  std::size_t end() const { return part_.end(scenarios_.count()); }
  /// Of all that are done.
  const std::vector<std::optional<double>>& objectives() const { return objectives_; }
  std::size_t failed() const { return failed_; }

  /// The scenarios that are still to be solved.
  std::vector<std::size_t> missing() const;

  /// The next result, and those ahead of it that it lets through.
  void write(const ScenarioResult& result);
  /// One that is ahead of the next: kept until its turn, for which a sweep that is broken off has
  /// a file.
  void keep(std::size_t scenario, ScenarioResult result);
  /// What follows the last result, also if not all scenarios were solved.
  void finish();

 private:
  bool isToConsole() const { return options_.target().empty(); }
  void resume(const std::string& fingerprint);
  void begin(const std::string& fingerprint);
  void writeRow(const ScenarioResult& result);
  void writeAhead();
  void emit(std::string_view text);

  const SweepOptions options_;
  const Scenarios& scenarios_;
  Part part_;
  Console& console_;
  std::string heading_;
  std::string recordHeading_;
  std::vector<SweptSymbol> symbols_;  ///< of an exchange file
  std::unique_ptr<AppendFile> rows_;  ///< null: to the console
  std::unique_ptr<AppendFile> records_;
  AheadResults ahead_;
  std::vector<std::optional<double>> objectives_;
  std::size_t failed_ = 0;
};

/// Refuses, with ToolError or WrongUseError, outputs that do not go together or would be written
/// over by mistake. To be called before anything is computed.
void checkOutputsOf(const SweepOptions& options);

}  // namespace zdb::tool
