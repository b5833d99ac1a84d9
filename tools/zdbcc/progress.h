#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "console.h"
#include "interrupt.h"

namespace zdb::tool {

/// How far a long piece of work is: a bar with rate and time left, on a terminal's standard error,
/// once the work has taken more than a second. While it exists, Ctrl-C makes the next update()
/// throw InterruptedError, so that the verb can keep what is done; a second Ctrl-C
/// ends the program.
class Progress {
 public:
  /// `unit` is what is counted, such as "records".
  Progress(Console& console, std::string unit);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Costs some 30 ns when there is nothing to draw.
  /// REQUIRES done <= total.
  void update(std::uint64_t done, std::uint64_t total);

  /// For work in many small steps: counts one, and now and then updates.
  void step(std::uint64_t total) {
    constexpr std::uint64_t kSeldom = 4096;
    if (++steps_ % kSeldom == 0) update(steps_, total);
  }

 private:
  using Clock = std::chrono::steady_clock;

  Console& console_;
  std::optional<Interrupt> interrupt_;  ///< none for a host's console
  std::string unit_;
  std::uint64_t steps_ = 0;
  Clock::time_point start_ = Clock::now();
  Clock::time_point nextDrawing_;
};

/// The bar after some seconds of work; as wide as `width` allows.
std::string progressBar(std::uint64_t done, std::uint64_t total, double seconds,
                        const std::string& unit, int width);

}  // namespace zdb::tool
