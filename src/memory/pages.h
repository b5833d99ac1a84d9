// All memory for records and labels comes from here, so that one place knows what pages cost.
//
// The system provides fresh memory page by page, when each page is first written to; for pages of 4
// KiB that costs more than storing the records that a page holds. So large memory starts on a page
// boundary, is backed by huge pages where possible, and its pages are taken all at once. operator
// new, the alternative, leaves them to be taken one by one.
#pragma once

#include <cstddef>

namespace zdb::memory {

/// In bytes: the size from which memory counts as large, and that of a huge page.
inline constexpr std::size_t kLarge = std::size_t{64} << 10;
inline constexpr std::size_t kHugePage = std::size_t{2} << 20;

/// Uninitialised memory of this size, aligned to at least `alignment`. The caller owns it and frees
/// it with release(). Throws std::bad_alloc.
/// REQUIRES for release(): the arguments that obtain() was called with.
void* obtain(std::size_t bytes, std::size_t alignment = 16);
void release(void* memory, std::size_t bytes, std::size_t alignment = 16) noexcept;

/// The same, zeroed. Pages of large memory are not taken before they are written to, so the cost
/// does not depend on the size.
void* obtainZeroed(std::size_t bytes);
void releaseZeroed(void* memory, std::size_t bytes) noexcept;

/// Prefetches the cache line at `address`.
inline void prefetch(const void* address) {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#else
  static_cast<void>(address);
#endif
}

}  // namespace zdb::memory
