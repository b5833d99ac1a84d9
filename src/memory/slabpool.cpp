#include "memory/slabpool.h"

#include <cstring>
#include <new>

#include "memory/pages.h"

namespace zdb::memory {

namespace {

/// Nodes are laid out in cache lines, so slabs start on a cache line.
constexpr std::size_t kSlabAlignment = 64;

}  // namespace

SlabPool::SlabPool(std::uint32_t elementBytes, std::uint32_t firstSlab, std::uint32_t skew)
    : elementBytes_(elementBytes),
      bias_(4 * firstSlab),
      firstClass_(4 + 4 * (static_cast<std::uint32_t>(std::bit_width(4 * firstSlab)) - 1)),
      skew_(skew) {}

void SlabPool::free(std::uint32_t index) noexcept {
  std::memcpy(at(index) - skew_, &freeHead_, sizeof freeHead_);
  freeHead_ = index;
  ++free_;
}

std::uint32_t SlabPool::reuseFreed() noexcept {
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
    void* memory = obtain(std::size_t{elements} * elementBytes_, kSlabAlignment);
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
    release(at(first) - skew_, std::size_t{elements} * elementBytes_, kSlabAlignment);
    first += elements;
  }
  biasedBases_ = {};
  capacity_ = used_ = free_ = 0;
  freeHead_ = kNone;
}

}  // namespace zdb::memory
