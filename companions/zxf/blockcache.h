#pragma once

#include <cstdint>
#include <unordered_map>

#include "zxf/block.h"

namespace zdb::zxfile {

/// Unpacked blocks of a symbol that were used last, each by the number of its first record.
class BlockCache {
 public:
  /// Drops all of them, and from now on keeps this many.
  void reset(std::size_t mostBlocks);
  void clear() { blocks_.clear(); }

  /// Takes over a block, and where it ends in the file. `block` is unspecified afterwards: it may
  /// have the memory of one that made room.
  void put(std::uint32_t firstRecord, std::uint64_t end, Block& block);
  /// Moves a block out; false if it is not here.
  bool take(std::uint32_t firstRecord, std::uint64_t& end, Block& block);

 private:
  struct Kept {
    Block block;
    std::uint64_t end;
    std::uint64_t lastUse;
  };

  std::size_t most_ = 0;
  std::uint64_t uses_ = 0;
  std::unordered_map<std::uint32_t, Kept> blocks_;
};

}  // namespace zdb::zxfile
