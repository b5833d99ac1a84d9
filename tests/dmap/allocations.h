/// Counts the allocations of this test program, and fails one of them on request.
#pragma once

#include <cstdint>

namespace zdb::test {

/// Watches operator new from construction to destruction. One at a time.
class Allocations {
 public:
  /// Throws std::bad_alloc at allocation number `failing`, counted from 1; 0 fails none.
  explicit Allocations(std::uint64_t failing = 0);
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  /// Allocations so far, the failed one included.
  std::uint64_t count() const;
  /// Bytes asked for and not freed since, of allocations made while watching.
  std::int64_t liveBytes() const;
};

}  // namespace zdb::test
