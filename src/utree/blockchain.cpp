#include "utree/blockchain.h"

#include <algorithm>

#include "utree/largememory.h"

namespace utree {

namespace {

// Few, but not so many that the last region is much of the memory.
constexpr std::size_t kLargestRegion = std::size_t{1} << 20;

}  // namespace

BlockChain::~BlockChain() {
  while (regions_ != nullptr) {
    Region* next = regions_->next;
    releaseMemory(regions_, regions_->bytes);
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
  const std::size_t blocks = std::max<std::size_t>(1, std::min(bytes_ / 8, kLargestRegion) / block);
  const std::size_t bytes = sizeof(Region) + blocks * block;
  void* memory = obtainMemory(bytes);
  regions_ = new (memory) Region{regions_, bytes};
  regionNext_ = static_cast<std::byte*>(memory) + sizeof(Region);
  regionFree_ = bytes - sizeof(Region);
  bytes_ += bytes;
}

}  // namespace utree
