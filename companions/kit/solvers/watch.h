// What ends a solve before its end.
#pragma once

#include <algorithm>
#include <limits>

#include "kit/linearmodel.h"

namespace zdb::kit {

/// Keeps a solve to its limits, over all runs of a solver and in whichever models it makes of the
/// one it was given.
class Watch {
 public:
  explicit Watch(const StopToken& stop) : stop_(stop) {}

  /// Iterations of runs that have ended.
  void count(int iterations) { iterations_ += iterations; }
  int iterations() const { return iterations_; }
  /// How many more there may be.
  int left() const {
    const int limit = stop_.iterationLimit();
    return limit > 0 ? std::max(limit - iterations_, 0) : std::numeric_limits<int>::max();
  }

  /// Whether a run that is under way, and has taken some iterations, has to end. Looks at the
  /// clock.
  bool ends(int iterations = 0) {
    isStopped_ = isStopped_ || iterations >= left() || stop_.isStopRequested();
    return isStopped_;
  }
  /// Whether a solver was told to stop: what it concludes after that is nothing to go by.
  bool isStopped() const { return isStopped_; }
  /// Why it was.
  Outcome reason() const {
    return stop_.isStopRequested() ? stop_.reason() : Outcome::IterationLimit;
  }

  const StopToken& stop() const { return stop_; }

 private:
  const StopToken& stop_;
  int iterations_ = 0;
  bool isStopped_ = false;
};

}  // namespace zdb::kit
