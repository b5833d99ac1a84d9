#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace zdb::tool {

/// What `zdbcc sweep` is told, and each of its workers.
struct SweepOptions {
  ModelSource model;
  std::string scenarios;
  std::vector<std::string> shown;
  std::string solver;
  bool json = false;
};

}  // namespace zdb::tool
