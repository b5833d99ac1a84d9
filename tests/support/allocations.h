// Watches the allocations of a test program, and lets some of them fail.
//
// A program that compiles allocations.cpp has its own operator new and delete. They serve what is
// linked into it and also the shared libraries that it links or loads later, libzdbcclib.so.1 and
// the companions among them, which look for the operators in the program first; under the address
// sanitizer too. What takes memory from the C library itself is neither seen nor failed: malloc,
// aligned_alloc (batchalloc, where label texts and symbols live), and solvers written in C. What
// solvers in C++ and other libraries of the system allocate, or have a callback allocate, is seen
// and never fails: what they do then is not ours to mend.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zdb::test {

/// Watches all threads from its construction to its destruction. One at a time.
class Allocations {
 public:
  /// Lets allocation number `failing`, counted from 1, throw std::bad_alloc (or give null, asked
  /// for without exceptions); 0 fails none.
  explicit Allocations(std::uint64_t failing = 0);
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  /// Counts anew, and lets allocation number `failing` fail, or all `fromThereOn`, up to disarm().
  void arm(std::uint64_t failing, bool fromThereOn);
  void disarm();

  /// As long as it lives, allocations of its thread neither count nor fail: those of a host.
  class Pause {
   public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    bool wasPaused_;
  };

  /// Allocations so far, those that failed included.
  std::uint64_t count() const;
  bool hasFailed() const;
  /// What was allocated less what was freed, as far as the heap made room for it.
  std::int64_t liveBytes() const;
  /// The largest size asked for.
  std::size_t largest() const;
};

}  // namespace zdb::test
