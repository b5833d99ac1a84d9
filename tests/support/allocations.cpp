#include "support/allocations.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constinit zdb::test::AllocationCounters& counters = zdb::test::allocationCounters;

constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

/// Counts an allocation; whether it may go on.
bool isAllowed(std::size_t size) {
  const std::uint64_t number = ++counters.count;
  std::size_t largest = counters.largest;
  while (largest < size && !counters.largest.compare_exchange_weak(largest, size)) continue;
  return number != counters.failing;
}

void* allocateOrNull(std::size_t size, std::align_val_t alignment = kUsual) noexcept {
  if (counters.areOn && !isAllowed(size)) return nullptr;
  const auto unit = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
  void* memory = nullptr;  // not by aligned_alloc, which rounds sizes up to the unit
  if (posix_memalign(&memory, unit, size) != 0) return nullptr;
  if (counters.areOn) counters.bytes += static_cast<std::int64_t>(malloc_usable_size(memory));
  return memory;
}

void* allocate(std::size_t size, std::align_val_t alignment = kUsual) {
  if (void* memory = allocateOrNull(size, alignment)) return memory;
  throw std::bad_alloc();
}

void release(void* memory) noexcept {
  if (counters.areOn) counters.bytes -= static_cast<std::int64_t>(malloc_usable_size(memory));
  std::free(memory);
}

}  // namespace

// The standard library's forms lead to two of them, but those of the sanitizers stand alone.
#define ZDB_OPERATORS(brackets)                                                         \
  void* operator new brackets(std::size_t size) {                                       \
    return allocate(size);                                                              \
  }                                                                                     \
  void* operator new brackets(std::size_t size, std::align_val_t unit) {                \
    return allocate(size, unit);                                                        \
  }                                                                                     \
  void* operator new brackets(std::size_t size, const std::nothrow_t&) noexcept {       \
    return allocateOrNull(size);                                                        \
  }                                                                                     \
  void operator delete brackets(void* memory) noexcept {                                \
    release(memory);                                                                    \
  }                                                                                     \
  void operator delete brackets(void* memory, std::size_t) noexcept {                   \
    release(memory);                                                                    \
  }                                                                                     \
  void operator delete brackets(void* memory, std::align_val_t) noexcept {              \
    release(memory);                                                                    \
  }                                                                                     \
  void operator delete brackets(void* memory, std::size_t, std::align_val_t) noexcept { \
    release(memory);                                                                    \
  }

ZDB_OPERATORS()
ZDB_OPERATORS([])

#undef ZDB_OPERATORS

zdb::test::Allocations::Allocations(std::uint64_t failing) : failing_(failing) {
  counters.count = counters.largest = 0;
  counters.bytes = 0;
  counters.failing = failing;
  counters.areOn = true;
}
