#pragma once

#include <string>
#include <vector>

#include "model.h"

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
  SweepStart start = SweepStart::Base;
  unsigned jobs = 1;
  bool json = false;
};

}  // namespace zdb::tool
