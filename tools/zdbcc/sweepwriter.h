// Where the results of a sweep go.
#pragma once

#include <string>
#include <vector>

#include "console.h"
#include "scenariosolver.h"
#include "sweepoptions.h"

namespace zdb::tool {

/// Takes the results in the order of the scenarios and writes each at once, so that they are there
/// whatever happens to the next.
class SweepWriter {
 public:
  /// Writes the heading.
  SweepWriter(const SweepOptions& options, const std::vector<std::string>& columns,
              Console& console);

  void write(const ScenarioResult& result);
  /// What follows the last result, also if not all scenarios were solved.
  void finish();

 private:
  void emit(std::string_view text);

  bool isJson_;
  Console& console_;
  std::size_t count_ = 0;
};

}  // namespace zdb::tool
