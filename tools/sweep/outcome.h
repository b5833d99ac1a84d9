#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zdb::sweep {

/// A piece of work by its number, such as that of a scenario.
using Task = std::uint64_t;

/// What has become of a task.
struct Outcome {
  Task task = 0;
  bool isFailed = false;
  bool endedWorker = false;  ///< which is why it failed
  std::string content;       ///< the result, or in words why there is none
  double seconds = 0;        ///< that the task took its worker
  std::size_t worker = 0;    ///< that had it last
  int tries = 1;             ///< how often it was handed out
};

}  // namespace zdb::sweep
