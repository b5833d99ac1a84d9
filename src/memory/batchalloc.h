#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "memory/pages.h"

namespace zdb::batchalloc {

/// A zeroed array of fixed length that costs the same to make whatever its length, for hash tables.
/// The alternative, std::vector, writes every element first. Owns its memory and never moves it.
/// REQUIRES zero bytes are a valid, empty T.
template <typename T>
class LargeArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  LargeArray() = default;
  explicit LargeArray(std::size_t length)
      : data_(static_cast<T*>(memory::obtainZeroed(length * sizeof(T)))), length_(length) {}
  LargeArray(LargeArray&& other) noexcept { *this = std::move(other); }
  LargeArray& operator=(LargeArray&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(length_, other.length_);
    return *this;
  }
  ~LargeArray() { memory::releaseZeroed(data_, length_ * sizeof(T)); }

  T& operator[](std::size_t index) { return data_[index]; }
  const T& operator[](std::size_t index) const { return data_[index]; }

 private:
  T* data_ = nullptr;
  std::size_t length_ = 0;
};

/// An arena for pieces of any size that are freed together, such as the entries of a string list.
///
/// A piece costs a few instructions and no header, where malloc has a header of 8 bytes. Its
/// address can also be had from a 32-bit reference (block number and place in the block), which is
/// half the size of a pointer. `BlockChain` is the alternative for pieces that need no reference.
///
/// The allocator owns the memory. Blocks form a singly linked list and double in size from
/// kFirstBlock to kLargestBlock, so that a small owner stays small and a large one makes few
/// allocations. Pieces are aligned to 8 bytes and never move; they are valid until clear() or the
/// destructor. Nothing is constructed or destroyed.
class BatchAllocator {
 public:
  static constexpr std::size_t kFirstBlock = 512;
  static constexpr std::size_t kLargestBlock = 2 * memory::kHugePage;

  BatchAllocator() = default;
  ~BatchAllocator() { clear(); }
  BatchAllocator(const BatchAllocator&) = delete;
  BatchAllocator& operator=(const BatchAllocator&) = delete;

  /// Uninitialised room for `bytes` bytes. Amortised constant time. Throws std::bad_alloc.
  void* allocate(std::size_t bytes) {
    bytes = (bytes + kUnit - 1) / kUnit * kUnit;
    if (bytes > free_) addBlock(bytes);
    unsigned char* piece = next_;
    next_ += bytes;
    free_ -= bytes;
    size_ += bytes;
    return piece;
  }

  /// The same, returning the reference of the piece, which is never 0. Throws std::bad_alloc beyond
  /// 4096 blocks, which is 16 GiB of pieces.
  std::uint32_t allocateReference(std::size_t bytes) {
    const auto* piece = static_cast<unsigned char*>(allocate(bytes));
    const auto block = static_cast<std::uint32_t>(bases_.size() - 1);
    return block << kPlaceBits | static_cast<std::uint32_t>((piece - bases_.back()) / kUnit);
  }
  void* at(std::uint32_t reference) const {
    return bases_[reference >> kPlaceBits] + (reference & ((1u << kPlaceBits) - 1)) * kUnit;
  }

  /// Frees every block.
  void clear();

  /// Bytes allocated since the last clear().
  std::size_t size() const { return size_; }

 private:
  struct Block {
    Block* next;
    unsigned char* data;
    std::size_t bytes;
  };

  static constexpr std::size_t kUnit = 8;
  static constexpr int kPlaceBits = 20;  // units in a block: up to 8 MiB

  void addBlock(std::size_t atLeast);

  Block* blocks_ = nullptr;
  std::size_t size_ = 0;
  unsigned char* next_ = nullptr;
  std::size_t free_ = 0;
  std::size_t blockSize_ = kFirstBlock;
  std::vector<unsigned char*> bases_;  ///< data of the blocks, oldest first
};

}  // namespace zdb::batchalloc
