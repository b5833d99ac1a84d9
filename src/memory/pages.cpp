#include "memory/pages.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <new>

namespace zdb::memory {

namespace {

constexpr std::size_t kPage = 4096;

/// Memory above this size may not all be needed soon, so its pages are taken one by one.
constexpr std::size_t kMostTakenAtOnce = std::size_t{64} << 20;

/// Memory of many huge pages begins at the start of one. Smaller memory does not: alignment would
/// waste too much of it, and made copies of arrays that come and go take half as long again.
std::align_val_t alignmentFor(std::size_t bytes, std::size_t alignment) {
  if (bytes < kLarge) return std::align_val_t{alignment};
  return std::align_val_t{bytes < 32 * kHugePage ? kPage : kHugePage};
}

bool isTaken(std::byte* page) {
  unsigned char state = 0;
  return mincore(page, kPage, &state) == 0 && (state & 1) != 0;
}

/// The calls are hints: if they are refused, that only costs time.
void takePages(std::byte* first, std::size_t bytes) {
  const std::size_t pages = bytes / kPage * kPage;
  // If two of its pages are present, the heap has reused the memory, and all of it is.
  if (isTaken(first + pages / 2 / kPage * kPage) && isTaken(first + pages - kPage)) return;
  madvise(first, pages, MADV_HUGEPAGE);
#ifdef MADV_POPULATE_WRITE
  if (bytes <= kMostTakenAtOnce) madvise(first, pages, MADV_POPULATE_WRITE);
#endif
}

std::size_t roundUp(std::size_t bytes, std::size_t unit) {
  return (bytes + unit - 1) / unit * unit;
}

}  // namespace

void* obtain(std::size_t bytes, std::size_t alignment) {
  void* memory = ::operator new(bytes, alignmentFor(bytes, alignment));
  if (bytes >= kLarge) takePages(static_cast<std::byte*>(memory), bytes);
  return memory;
}

void release(void* memory, std::size_t bytes, std::size_t alignment) noexcept {
  ::operator delete(memory, alignmentFor(bytes, alignment));
}

void* obtainZeroed(std::size_t bytes) {
  if (bytes < kHugePage) return std::memset(obtain(bytes), 0, bytes);
  // Directly from the system, which provides zeros; what lies outside whole huge pages is
  // given back.
  const std::size_t size = roundUp(bytes, kHugePage);
  void* mapped =
      mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  auto* start = static_cast<std::byte*>(mapped);
  const std::size_t before = roundUp(reinterpret_cast<std::uintptr_t>(start), kHugePage) -
                             reinterpret_cast<std::uintptr_t>(start);
  if (before > 0) munmap(start, before);
  if (before < kHugePage) munmap(start + before + size, kHugePage - before);
  madvise(start + before, size, MADV_HUGEPAGE);
  return start + before;
}

void releaseZeroed(void* memory, std::size_t bytes) noexcept {
  if (memory == nullptr) return;
  if (bytes < kHugePage) {
    release(memory, bytes);
  } else {
    munmap(memory, roundUp(bytes, kHugePage));
  }
}

}  // namespace zdb::memory
