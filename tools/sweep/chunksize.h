// How many tasks a worker gets at a time.
#pragma once

#include <cstddef>

namespace zdb::sweep {

/// Chunks are long enough that handing them out costs nothing to speak of, and short enough that
/// all workers end at about the same time. The first ones are small, since nobody knows yet how
/// long a task takes; the last ones are small again.
class ChunkSize {
 public:
  /// `seconds` is how long a chunk should take.
  ChunkSize(std::size_t workers, double seconds) : workers_(workers), target_(seconds) {}

  /// Takes into account how long a task took.
  void learn(double seconds);
  /// For the next chunk, with `left` tasks that no worker has yet.
  /// REQUIRES left > 0.
  std::size_t next(std::size_t left);

 private:
  std::size_t workers_;
  double target_;
  double seconds_ = 0;  ///< both fade, so that the last hundred tasks or so count
  double tasks_ = 0;
  std::size_t last_ = 0;
};

}  // namespace zdb::sweep
