#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zdb::memory {

/// A pool of elements of equal size, each identified by a 32-bit index: the records and nodes of
/// `RecordTreeBase`. Unlike an array, it never moves an element; unlike new, it needs no header per
/// element, and links between elements take 4 bytes instead of 8. The pool owns the memory.
///
/// Elements lie in slabs that grow by quarter octaves: with 4 * `firstSlab` = 2^b, indices i are
/// shifted by 2^b, and every range 2^e <= i < 2^(e+1) of shifted indices is divided into four slabs
/// of equal size. So at most a fifth of the pool is unused, small pools stay small, nothing is ever
/// copied, and the slab of an index follows from its exponent and its next two bits, as in a small
/// floating-point number. The table holds each slab's address minus the size of all elements before
/// the slab, so finding an address costs one table look-up and one multiplication.
///
/// Freed elements are linked through their first four bytes and reused last in, first out; their
/// memory stays readable until `clear()`, which invalidates all addresses, as the destructor does.
class SlabPool {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  /// 0 <= index < kMaxElements, which leaves some numbers for other uses.
  static constexpr std::uint32_t kMaxElements = UINT32_MAX - 1023;

  /// `elementBytes`: size of an element. `firstSlab`: elements in each of the first four slabs.
  /// `skew`: offset in an element that `at()` points to.
  /// REQUIRES elementBytes >= 4, and `firstSlab` is a power of two.
  SlabPool(std::uint32_t elementBytes, std::uint32_t firstSlab, std::uint32_t skew = 0);
  ~SlabPool() { clear(); }
  SlabPool(const SlabPool&) = delete;
  SlabPool& operator=(const SlabPool&) = delete;

  /// Address of element `index` plus the skew.
  /// REQUIRES the element has been allocated since the last `clear()`; it may have been
  /// freed since.
  std::byte* at(std::uint32_t index) const { return at(index, elementBytes_); }

  /// The same for callers that know the element size at compile time.
  std::byte* at(std::uint32_t index, std::uint32_t elementBytes) const {
    return reinterpret_cast<std::byte*>(biasedBases_[slabOf(index)] +
                                        std::uint64_t{index} * elementBytes);
  }

  /// Ensures that the next `count` calls of `allocate()` succeed. Throws std::bad_alloc.
  void ensure(std::uint32_t count) {
    if (free_ + (capacity_ - used_) < count) grow(count);
  }

  /// Index of an unused element.
  /// REQUIRES `ensure` has been called for it.
  std::uint32_t allocate() noexcept { return freeHead_ == kNone ? used_++ : reuseFreed(); }

  /// Indices of up to `wanted` unused elements that lie one after the other: returns the first and
  /// sets `got` to their number.
  /// REQUIRES `ensure` has been called for one, and wanted > 0.
  std::uint32_t allocateRun(std::uint32_t wanted, std::uint32_t& got) noexcept {
    got = 1;
    if (freeHead_ != kNone) return reuseFreed();
    const std::uint32_t first = used_;
    got = wanted < capacity_ - first ? wanted : capacity_ - first;
    if (slabOf(first) != slabOf(first + got - 1)) got = 1;
    used_ += got;
    return first;
  }

  /// Frees an element.
  void free(std::uint32_t index) noexcept;

  /// Frees all slabs.
  void clear() noexcept;

  /// Elements in use.
  std::uint32_t live() const { return used_ - free_; }

 private:
  std::uint32_t slabOf(std::uint32_t index) const {
    const std::uint32_t shifted = index + bias_;
    const auto exponent = static_cast<std::uint32_t>(std::bit_width(shifted | 1U)) - 1;
    return (shifted >> (exponent - 2)) + 4 * exponent - firstClass_;
  }
  std::uint32_t slabElements(std::uint32_t slab) const { return (bias_ / 4) << (slab / 4); }
  std::uint32_t reuseFreed() noexcept;
  void grow(std::uint32_t count);
  void addSlab();

  std::vector<std::uintptr_t> biasedBases_;
  std::uint32_t elementBytes_;
  std::uint32_t bias_;        ///< power of two added to an index to get its class
  std::uint32_t firstClass_;  ///< class of index 0
  std::uint32_t skew_;
  std::uint32_t capacity_ = 0;  ///< elements in all slabs
  std::uint32_t used_ = 0;      ///< elements ever allocated
  std::uint32_t free_ = 0;      ///< elements in the list of freed ones
  std::uint32_t freeHead_ = kNone;
};

}  // namespace zdb::memory
