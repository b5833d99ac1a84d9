#include "memory/batchalloc.h"

#include <algorithm>
#include <memory>
#include <new>

namespace zdb::batchalloc {

void BatchAllocator::addBlock(std::size_t atLeast) {
  // The first unit of a block is never allocated, so that no reference is 0.
  const std::size_t bytes = std::max(atLeast + kUnit, blockSize_);
  if (bases_.size() >> (32 - kPlaceBits) != 0) throw std::bad_alloc();
  bases_.reserve(bases_.size() + 1);
  auto block = std::make_unique<Block>(Block{blocks_, nullptr, bytes});
  block->data = static_cast<unsigned char*>(memory::obtain(bytes));
  bases_.push_back(block->data);
  blocks_ = block.release();
  next_ = bases_.back() + kUnit;
  free_ = bytes - kUnit;
  blockSize_ = std::min(blockSize_ * 2, kLargestBlock);
}

void BatchAllocator::clear() {
  while (blocks_ != nullptr) {
    Block* block = blocks_;
    blocks_ = block->next;
    memory::release(block->data, block->bytes);
    delete block;
  }
  bases_.clear();
  size_ = 0;
  next_ = nullptr;
  free_ = 0;
  blockSize_ = kFirstBlock;
}

}  // namespace zdb::batchalloc
