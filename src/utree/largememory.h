/// Memory for many records at a time.
#pragma once

#include <cstddef>

namespace utree {

/// Memory of this size, aligned to 16 bytes, to be given back to releaseMemory. Throws
/// std::bad_alloc.
///
/// From kLargeMemory on it begins with a page, and all its pages are taken from the system at once,
/// as huge ones where it has them: taking each when it is first written to costs more than what is
/// usually written there.
void* obtainMemory(std::size_t bytes);
/// `bytes` is what it was obtained with.
void releaseMemory(void* memory, std::size_t bytes) noexcept;

inline constexpr std::size_t kLargeMemory = std::size_t{64} << 10;

}  // namespace utree
