#pragma once

#include <cstddef>

namespace zdb::memory {

/// An arena for small pieces of few sizes, such as the nodes of a label tree: allocating one
/// costs a few instructions and no header. A piece is never constructed, moved or freed by
/// itself: the chain owns the memory and frees all of it when it is destroyed. The alternatives
/// are `BatchAllocator`, whose pieces have 32-bit references, and `SlabPool`, which reuses
/// freed elements.
///
/// Blocks grow with the chain: large chains need few allocations and consist of huge pages, and at
/// most an eighth of the memory is unused.
class BlockChain {
 public:
  BlockChain() = default;
  ~BlockChain();
  BlockChain(const BlockChain&) = delete;
  BlockChain& operator=(const BlockChain&) = delete;

  /// Later blocks have at least this size, in bytes.
  void setBlockSize(std::size_t bytes) { blockSize_ = bytes; }

  /// Uninitialised room for `bytes` bytes. A piece that is larger than a block gets a block of its
  /// own. Throws std::bad_alloc.
  /// REQUIRES `bytes` is a multiple of 4. Pieces are aligned to 8 bytes if all are multiples of 8,
  /// else to 4.
  void* allocate(std::size_t bytes) {
    if (bytes > free_) addBlock(bytes);
    void* piece = next_;
    next_ += bytes;
    free_ -= bytes;
    return piece;
  }

 private:
  /// The header of a block; its pieces follow.
  struct Block {
    Block* next;
    std::size_t bytes;  ///< size of the block with its header
  };

  void addBlock(std::size_t atLeast);

  std::byte* next_ = nullptr;  ///< first free byte of the current block
  std::size_t free_ = 0;       ///< bytes left in it
  std::size_t blockSize_ = 1024;
  Block* blocks_ = nullptr;
  std::size_t bytes_ = 0;  ///< size of all blocks with their headers
};

}  // namespace zdb::memory
