#include "memory/blockchain.h"

#include <algorithm>

#include "memory/pages.h"

namespace zdb::memory {

namespace {

/// Blocks are few, but never so large that the unused part of the last one is much of the memory.
/// From the size of a huge page on they consist of whole ones.
std::size_t usualSize(std::size_t chainBytes) {
  if (chainBytes / 8 < kHugePage) return chainBytes / 8;
  return std::clamp<std::size_t>(chainBytes / 16 / kHugePage, 1, 8) * kHugePage;
}

/// Huge pages come from the system and go back to it: in a heap that keeps what is freed, they
/// would leave gaps of almost the same size.
void* obtainBlock(std::size_t bytes) {
  return bytes < kHugePage ? obtain(bytes) : obtainZeroed(bytes);
}

void releaseBlock(void* block, std::size_t bytes) {
  if (bytes < kHugePage) {
    release(block, bytes);
  } else {
    releaseZeroed(block, bytes);
  }
}

}  // namespace

BlockChain::~BlockChain() {
  while (blocks_ != nullptr) {
    Block* next = blocks_->next;
    releaseBlock(blocks_, blocks_->bytes);
    blocks_ = next;
  }
}

void BlockChain::addBlock(std::size_t atLeast) {
  const std::size_t bytes =
      std::max(sizeof(Block) + std::max(blockSize_, atLeast), usualSize(bytes_));
  void* memory = obtainBlock(bytes);
  blocks_ = new (memory) Block{blocks_, bytes};
  next_ = static_cast<std::byte*>(memory) + sizeof(Block);
  free_ = bytes - sizeof(Block);
  bytes_ += bytes;
}

}  // namespace zdb::memory
