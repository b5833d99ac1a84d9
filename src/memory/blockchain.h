#pragma once

#include <cstddef>

namespace zdb::memory {

/// A chain of blocks from which pieces are taken one after the other. A piece is never given back,
/// moved or constructed; all go with the chain.
///
/// Blocks are cut from regions, which grow with the chain: there are many blocks and few
/// allocations, and at most an eighth of the memory is unused.
class BlockChain {
 public:
  BlockChain() = default;
  ~BlockChain();
  BlockChain(const BlockChain&) = delete;
  BlockChain& operator=(const BlockChain&) = delete;

  /// The blocks to come will have room for `bytes` bytes.
  void setBlockSize(std::size_t bytes) { blockSize_ = bytes; }

  /// Room for `bytes` bytes, aligned to 8 if all pieces are multiples of 8, else to 4. A piece that
  /// no block has room for gets a block of its own size. Throws std::bad_alloc.
  void* allocate(std::size_t bytes) {
    if (bytes > free_) addBlock(bytes);
    void* piece = next_;
    next_ += bytes;
    free_ -= bytes;
    return piece;
  }

 private:
  /// The blocks follow.
  struct Region {
    Region* next;
    std::size_t bytes;  ///< Of the whole region.
  };

  void addBlock(std::size_t atLeast);
  void addRegion(std::size_t block);

  std::byte* next_ = nullptr;  ///< Where the current block goes on.
  std::size_t free_ = 0;       ///< Bytes left in it.
  std::size_t blockSize_ = 1024;
  std::byte* regionNext_ = nullptr;  ///< Where the next block begins.
  std::size_t regionFree_ = 0;
  Region* regions_ = nullptr;
  std::size_t bytes_ = 0;  ///< Of all regions, their headers included.
};

}  // namespace zdb::memory
