#include "dmap/slabpool.h"

#include <sys/mman.h>

#include <cstring>
#include <new>

namespace zdb::dmap {

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kLargeSlab = 16 * kPage;

/// Nodes are laid out in cache lines, so their slabs begin with one, and large slabs with a page.
std::align_val_t slabAlignment(std::size_t bytes) {
  return std::align_val_t{bytes < kLargeSlab ? 64 : kPage};
}

/// Takes all pages of a large slab at once, as huge ones where it can: taking each when its first
/// record is stored costs more than storing the records. Both calls are hints.
void prepareSlab(void* slab, std::size_t bytes) noexcept {
  if (bytes < kLargeSlab) return;
  const std::size_t pages = bytes / kPage * kPage;
  madvise(slab, pages, MADV_HUGEPAGE);
#ifdef MADV_POPULATE_WRITE
  madvise(slab, pages, MADV_POPULATE_WRITE);
#endif
}

}  // namespace

SlabPool::SlabPool(std::uint32_t elementBytes, std::uint32_t firstSlab, std::uint32_t skew)
    : elementBytes_(elementBytes),
      bias_(4 * firstSlab),
      firstClass_(4 + 4 * (static_cast<std::uint32_t>(std::bit_width(4 * firstSlab)) - 1)),
      skew_(skew) {}

void SlabPool::give(std::uint32_t index) noexcept {
  std::memcpy(at(index) - skew_, &freeHead_, sizeof freeHead_);
  freeHead_ = index;
  ++free_;
}

std::uint32_t SlabPool::takeFreed() noexcept {
  const std::uint32_t index = freeHead_;
  std::memcpy(&freeHead_, at(index) - skew_, sizeof freeHead_);
  --free_;
  return index;
}

void SlabPool::grow(std::uint32_t count) {
  while (free_ + (capacity_ - used_) < count) addSlab();
}

void SlabPool::addSlab() {
  const auto slab = static_cast<std::uint32_t>(biasedBases_.size());
  const std::uint32_t elements = slabElements(slab);
  if (elements > kMaxElements - capacity_) throw std::bad_alloc();
  biasedBases_.push_back(0);
  try {
    const std::size_t bytes = std::size_t{elements} * elementBytes_;
    void* memory = ::operator new(bytes, slabAlignment(bytes));
    prepareSlab(memory, bytes);
    const auto base = reinterpret_cast<std::uintptr_t>(memory);
    biasedBases_.back() = base + skew_ - std::uint64_t{capacity_} * elementBytes_;
  } catch (...) {
    biasedBases_.pop_back();
    throw;
  }
  capacity_ += elements;
}

void SlabPool::clear() noexcept {
  std::uint32_t first = 0;
  for (std::uint32_t slab = 0; slab < biasedBases_.size(); ++slab) {
    const std::uint32_t elements = slabElements(slab);
    ::operator delete(at(first) - skew_, slabAlignment(std::size_t{elements} * elementBytes_));
    first += elements;
  }
  biasedBases_ = {};
  capacity_ = used_ = free_ = 0;
  freeHead_ = kNone;
}

}  // namespace zdb::dmap
