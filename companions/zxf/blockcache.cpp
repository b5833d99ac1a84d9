#include "zxf/blockcache.h"

#include <algorithm>

namespace zdb::zxfile {

void BlockCache::reset(std::size_t mostBlocks) {
  clear();
  most_ = mostBlocks;
}

// A search for the oldest one takes little beside the unpacking of the one that comes instead.
void BlockCache::put(std::uint32_t firstRecord, std::uint64_t end, Block& block) {
  if (most_ == 0) return;
  Block spare;
  if (blocks_.size() == most_) {
    const auto oldest = std::min_element(
        blocks_.begin(), blocks_.end(),
        [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; });
    spare = std::move(oldest->second.block);
    blocks_.erase(oldest);
  }
  blocks_.insert_or_assign(firstRecord, Kept{std::move(block), end, ++uses_});
  block = std::move(spare);
}

bool BlockCache::take(std::uint32_t firstRecord, std::uint64_t& end, Block& block) {
  const auto found = blocks_.find(firstRecord);
  if (found == blocks_.end()) return false;
  block = std::move(found->second.block);
  end = found->second.end;
  blocks_.erase(found);
  return true;
}

}  // namespace zdb::zxfile
