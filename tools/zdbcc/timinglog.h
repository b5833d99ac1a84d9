#pragma once

#include <string>

#include "appendfile.h"
#include "sweep/crew.h"

namespace zdb::tool {

/// A CSV file beside the results of a sweep that tells, for each scenario, who solved it, how long
/// that took, and how many times it was begun.
class TimingLog {
 public:
  /// `goesOn`: after the rows that are there.
  TimingLog(const std::string& file, bool goesOn);

  void write(const std::string& scenario, const std::string& worker, const sweep::Outcome& outcome);

 private:
  AppendFile file_;
};

}  // namespace zdb::tool
