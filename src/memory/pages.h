#pragma once

#include <cstddef>

// Where all memory for records and labels comes from, so that one place knows what pages cost.
//
// The system gives fresh memory page by page, when each is first written to; for 4 KiB pages that
// costs more than storing the records that a page holds. So large memory begins with a page, is
// backed by huge pages where it can be, and its pages are taken at once.
namespace zdb::memory {

/// What memory has at least, in bytes, to be treated as large, and what a huge page has.
inline constexpr std::size_t kLarge = std::size_t{64} << 10;
inline constexpr std::size_t kHugePage = std::size_t{2} << 20;

/// Memory of this size, aligned to at least `alignment`, to be given back to release() with the
/// same arguments. Throws std::bad_alloc.
void* obtain(std::size_t bytes, std::size_t alignment = 16);
void release(void* memory, std::size_t bytes, std::size_t alignment = 16) noexcept;

/// The same, all zeros. Pages of large memory are not taken before they are written to, so that
/// this costs the same whatever the size.
void* obtainZeroed(std::size_t bytes);
void releaseZeroed(void* memory, std::size_t bytes) noexcept;

/// Starts fetching the cache line at `address`.
inline void prefetch(const void* address) {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#else
  static_cast<void>(address);
#endif
}

}  // namespace zdb::memory
