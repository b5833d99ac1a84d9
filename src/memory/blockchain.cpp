#include "memory/blockchain.h"

#include <algorithm>

#include "memory/pages.h"

namespace zdb::memory {

namespace {

/// Regions are few and, in a large chain, consist of whole huge pages; but never so large that the
/// unused part of the last one is much of the memory.
std::size_t regionSize(std::size_t chainBytes) {
  const std::size_t whileSmall = std::min(chainBytes / 8, kHugePage / 2);
  return std::max(whileSmall, std::min(chainBytes / 32, 8 * kHugePage));
}

}  // namespace

BlockChain::~BlockChain() {
  while (regions_ != nullptr) {
    Region* next = regions_->next;
    release(regions_, regions_->bytes);
    regions_ = next;
  }
}

void BlockChain::addBlock(std::size_t atLeast) {
  const std::size_t size = std::max(blockSize_, atLeast);
  if (size > regionFree_) addRegion(size);
  next_ = regionNext_;
  free_ = size;
  regionNext_ += size;
  regionFree_ -= size;
}

void BlockChain::addRegion(std::size_t block) {
  // Whole blocks: what is left of a region is lost.
  const std::size_t blocks = std::max<std::size_t>(1, regionSize(bytes_) / block);
  const std::size_t bytes = sizeof(Region) + blocks * block;
  void* memory = obtain(bytes);
  regions_ = new (memory) Region{regions_, bytes};
  regionNext_ = static_cast<std::byte*>(memory) + sizeof(Region);
  regionFree_ = bytes - sizeof(Region);
  bytes_ += bytes;
}

}  // namespace zdb::memory
