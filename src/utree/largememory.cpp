#include "utree/largememory.h"

#include <sys/mman.h>

#include <new>

namespace utree {

namespace {

constexpr std::size_t kPage = 4096;

// Above that, whoever asked for it may not need it: it is taken page by page.
constexpr std::size_t kMostTakenAtOnce = std::size_t{64} << 20;

std::align_val_t alignmentFor(std::size_t bytes) {
  if (bytes < kLargeMemory) return std::align_val_t{16};
  return std::align_val_t{kPage};
}

bool isTaken(std::byte* page) {
  unsigned char state = 0;
  return mincore(page, kPage, &state) == 0 && (state & 1) != 0;
}

}  // namespace

void* obtainMemory(std::size_t bytes) {
  void* memory = ::operator new(bytes, alignmentFor(bytes));
  if (bytes < kLargeMemory) return memory;
  const std::size_t pages = bytes / kPage * kPage;
  auto* first = static_cast<std::byte*>(memory);
  // What the heap had kept is there already, to judge by two of its pages.
  if (isTaken(first + pages / 2 / kPage * kPage) && isTaken(first + pages - kPage)) return memory;
  // Both are hints, whose refusal costs time only.
  madvise(memory, pages, MADV_HUGEPAGE);
#ifdef MADV_POPULATE_WRITE
  if (bytes <= kMostTakenAtOnce) madvise(memory, pages, MADV_POPULATE_WRITE);
#endif
  return memory;
}

void releaseMemory(void* memory, std::size_t bytes) noexcept {
  ::operator delete(memory, alignmentFor(bytes));
}

}  // namespace utree
