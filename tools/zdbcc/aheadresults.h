#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "scenariosolver.h"

namespace zdb::tool {

/// Results of scenarios whose turn to be written has not come, since that of an earlier one is
/// missing. When a sweep is broken off, they are kept in a file of their own for the next one. The
/// file is read by the program that wrote it, or not at all.
class AheadResults {
 public:
  /// An empty name: there is no such file.
  explicit AheadResults(std::string file = "") : file_(std::move(file)) {}

  void add(std::size_t scenario, ScenarioResult result);
  bool has(std::size_t scenario) const { return results_.contains(scenario); }
  std::optional<ScenarioResult> take(std::size_t scenario);

  /// Adds what the file has; nothing if it is not there, or damaged.
  void load();
  /// Writes the file, or removes it if there is nothing to keep. Throws OutputError.
  void save() const;

 private:
  std::string file_;
  std::map<std::size_t, ScenarioResult> results_;
};

}  // namespace zdb::tool
