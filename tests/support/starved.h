// Calls that run out of memory everywhere.
#pragma once

#include <cstdint>
#include <new>

#include "support/allocations.h"

namespace zdb::test {

/// Makes a call that lacks the memory for its first allocation, then for its second and so on until
/// it gets through, and returns what it returns. After each std::bad_alloc `look` is called with
/// the bytes that the failed call has left behind.
template <class Call, class Look>
auto callStarved(Call call, Look look) {
  for (std::uint64_t first = 1;; ++first) {
    std::int64_t left = 0;
    {
      const Allocations allocations(first);
      try {
        return call();
      } catch (const std::bad_alloc&) {
        left = allocations.liveBytes();
      }
    }
    look(left);
  }
}

}  // namespace zdb::test
