#pragma once

#include <string>
#include <vector>

#include "direction.h"
#include "model.h"
#include "solvelimits.h"

namespace zdb::tool {

/// Where the solve of a scenario starts: at the basis of the model itself, or at that of whichever
/// scenario was solved last.
enum class SweepStart { Base, Last };

/// What `zdbcc sweep` is told, and each of its workers.
struct SweepOptions {
  ModelSource model;
  std::string scenarios;
  std::vector<std::string> shown;
  std::string solver;
  SolveLimits limits;
  Direction direction;
  bool relaxes = false;
  SweepStart start = SweepStart::Base;
  unsigned jobs = 1;    ///< 0: as many as there are cores
  std::string output;   ///< empty: standard output
  std::string records;  ///< of whole symbols, in long form
  std::string resumed;  ///< an output that was begun earlier
  std::string plot;
  std::string timing;  ///< of the log that tells who solved what
  std::string part;    ///< "3/16"; empty: all scenarios
  bool keepsGoing = false;
  bool isDryRun = false;
  bool force = false;
  bool json = false;

  /// The output, or "".
  const std::string& target() const { return resumed.empty() ? output : resumed; }
  bool writesExchangeFile() const { return target().ends_with(".zxf"); }
};

}  // namespace zdb::tool
