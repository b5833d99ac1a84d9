// Watches the allocations of a test program, and lets some of them fail.
//
// A program that compiles allocations.cpp has its own operator new and delete. They serve what is
// linked into it and also the shared libraries that it links or loads later, libzdbcclib64.so and
// the companions among them, which look for the operators in the program first; under the address
// sanitizer too. What takes memory from the C library itself is neither seen nor failed: malloc,
// aligned_alloc (batchalloc, where label texts and symbols live), and solvers written in C.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zdb::test {

/// What the operators tell, and are told.
struct AllocationCounters {
  std::atomic<bool> areOn = false;
  std::atomic<std::uint64_t> count = 0, failing = 0;
  std::atomic<std::int64_t> bytes = 0;
  std::atomic<std::size_t> largest = 0;
};
inline constinit AllocationCounters allocationCounters;

/// Watches all threads from its construction to its destruction. One at a time.
class Allocations {
 public:
  /// Lets allocation number `failing`, counted from 1, throw std::bad_alloc (or give null, asked
  /// for without exceptions); 0 fails none.
  explicit Allocations(std::uint64_t failing = 0);
  ~Allocations() { allocationCounters.areOn = false; }
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  /// Allocations so far, those that failed included.
  std::uint64_t count() const { return allocationCounters.count; }
  bool hasFailed() const { return failing_ > 0 && count() >= failing_; }
  /// What was allocated less what was freed, as far as the heap made room for it.
  std::int64_t liveBytes() const { return allocationCounters.bytes; }
  /// The largest size asked for.
  std::size_t largest() const { return allocationCounters.largest; }

 private:
  std::uint64_t failing_;
};

}  // namespace zdb::test
