#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zdb::memory {

/// A pool of equal elements, each known by a 32-bit index.
///
/// Elements lie in slabs that grow by quarter octaves: with `firstSlabs` = 2^b, indices are shifted
/// by 2^b, and every range [2^e, 2^(e+1)) of shifted indices is cut into four slabs of equal size.
/// So at most a fifth of the pool is unused, small pools stay small, nothing is ever copied, and
/// the slab of an index follows from its exponent and its next two bits, as in a small
/// floating-point number. The table holds each slab's address less what the indices before it
/// would take, hence an address costs one table look-up and one multiplication.
///
/// Freed elements are chained through their first four bytes and reused last in, first out; their
/// memory stays readable until `clear()`.
class SlabPool {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  /// Indices stay below this, which leaves some numbers for other uses.
  static constexpr std::uint32_t kMaxElements = UINT32_MAX - 1023;

  /// `elementBytes`: size of an element, at least 4. `firstSlab`: elements in each of the first
  /// four slabs, a power of two. `skew`: offset in an element that `at()` is to point to.
  SlabPool(std::uint32_t elementBytes, std::uint32_t firstSlab, std::uint32_t skew = 0);
  ~SlabPool() { clear(); }
  SlabPool(const SlabPool&) = delete;
  SlabPool& operator=(const SlabPool&) = delete;

  /// Address of element `index` plus the skew. The element must have been taken at some time.
  std::byte* at(std::uint32_t index) const { return at(index, elementBytes_); }

  /// The same for callers that know the element size at compile time.
  std::byte* at(std::uint32_t index, std::uint32_t elementBytes) const {
    return reinterpret_cast<std::byte*>(biasedBases_[slabOf(index)] +
                                        std::uint64_t{index} * elementBytes);
  }

  /// Sees to it that the next `count` calls of `take()` succeed. Throws std::bad_alloc.
  void ensure(std::uint32_t count) {
    if (free_ + (capacity_ - used_) < count) grow(count);
  }

  /// An unused element; `ensure` must have been called for it.
  std::uint32_t take() noexcept { return freeHead_ == kNone ? used_++ : takeFreed(); }

  /// Gives an element back.
  void give(std::uint32_t index) noexcept;

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
  std::uint32_t takeFreed() noexcept;
  void grow(std::uint32_t count);
  void addSlab();

  std::vector<std::uintptr_t> biasedBases_;
  std::uint32_t elementBytes_;
  std::uint32_t bias_;        ///< Power of two added to an index to get its class.
  std::uint32_t firstClass_;  ///< Class of index 0.
  std::uint32_t skew_;
  std::uint32_t capacity_ = 0;  ///< Elements in all slabs.
  std::uint32_t used_ = 0;      ///< Elements ever taken.
  std::uint32_t free_ = 0;      ///< Elements in the chain of freed ones.
  std::uint32_t freeHead_ = kNone;
};

}  // namespace zdb::memory
