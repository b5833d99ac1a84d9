#include "sweep/chunksize.h"

#include <algorithm>

namespace zdb::sweep {

namespace {

/// What remains of the weight of earlier tasks with each new one. The mean is over many of them: a
/// few tasks in a hundred that take a thousand times longer than the others should keep chunks
/// small, or one of them holds up those that are in its chunk.
constexpr double kFading = 0.99;

/// No chunk is more than this many times as long as the one before: the first tasks may
/// be unusually short.
constexpr std::size_t kGrowth = 4;

/// A message with the numbers of so many tasks fits into any socket's buffer, so that sending it
/// does not wait for its worker.
constexpr std::size_t kMost = 8192;

}  // namespace

void ChunkSize::learn(double seconds) {
  seconds_ = seconds_ * kFading + seconds;
  tasks_ = tasks_ * kFading + 1;
}

std::size_t ChunkSize::next(std::size_t left) {
  std::size_t size = 1;
  if (tasks_ > 0) {
    size = std::min(last_ * kGrowth, kMost);
    const double wanted = target_ * tasks_;  // over seconds_, which may be 0
    if (wanted < seconds_ * static_cast<double>(size)) {
      size = static_cast<std::size_t>(wanted / seconds_);
    }
  }
  // Half of what is left is divided, so that there is enough to make up for a late worker.
  last_ = std::max<std::size_t>(1, std::min(size, left / (2 * workers_)));
  return last_;
}

}  // namespace zdb::sweep
