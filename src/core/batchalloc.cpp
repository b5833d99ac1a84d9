#include "core/batchalloc.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

namespace zdb::batchalloc {

void* obtainMemory(std::size_t bytes) {
  const bool isHuge = bytes >= kHugePage;
  const std::size_t unit = isHuge ? kHugePage : 16;
  const std::size_t rounded = (bytes + unit - 1) / unit * unit;
  void* memory = std::aligned_alloc(unit, rounded);
  if (memory == nullptr) throw std::bad_alloc();
  if (isHuge) madvise(memory, rounded, MADV_HUGEPAGE);  // a hint: refusal costs speed only
  return memory;
}

void releaseMemory(void* memory) noexcept {
  std::free(memory);
}

void BatchAllocator::addBlock(std::size_t atLeast) {
  // The first unit of a block is not handed out, so that no reference is 0.
  const std::size_t bytes = std::max(atLeast + kUnit, blockSize_);
  if (bases_.size() >> (32 - kPlaceBits) != 0) throw std::bad_alloc();
  bases_.reserve(bases_.size() + 1);
  std::unique_ptr<void, decltype(&releaseMemory)> data(obtainMemory(bytes), releaseMemory);
  blocks_ = new Block{blocks_, static_cast<unsigned char*>(data.get())};
  bases_.push_back(static_cast<unsigned char*>(data.release()));
  next_ = bases_.back() + kUnit;
  free_ = bytes - kUnit;
  blockSize_ = std::min(blockSize_ * 2, kLargestBlock);
}

void BatchAllocator::clear() {
  while (blocks_ != nullptr) {
    Block* block = blocks_;
    blocks_ = block->next;
    releaseMemory(block->data);
    delete block;
  }
  bases_.clear();
  size_ = 0;
  next_ = nullptr;
  free_ = 0;
  blockSize_ = kFirstBlock;
}

}  // namespace zdb::batchalloc
