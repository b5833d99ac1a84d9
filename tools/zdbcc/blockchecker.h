#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zxf/reader.h"

namespace zdb::tool {

/// What a failure of the companion says: its fixed text and the detail.
std::string describe(const zdb::zxfile::ZxfError& failure);
/// The same after the name of the file, which is not said twice.
std::string describe(const zdb::zxfile::ZxfError& failure, const std::string& file);

/// A value for each special value of a data file that no data have by chance: a file that is copied
/// with these keeps its numbers bit by bit.
const zdb::zxfile::SpecialValues& neutralSpecials();

/// Records of a symbol that cannot be read.
struct Damage {
  std::string symbol;
  std::uint32_t block;  ///< from 1; what lies between two readable blocks counts as one
  std::uint64_t byte;   ///< where it begins in the file
  std::uint32_t recordsLost;
  std::string reason;
};

/// Reads the blocks of a data file one by one. Each holds all that is needed to read it, so the
/// blocks after a damaged one are found and read.
class BlockChecker {
 public:
  /// Throws the companion's ZxfError when the directory cannot be read.
  explicit BlockChecker(const char* path) : file_(path), directory_(readDirectory(file_)) {}

  const zdb::zxfile::Directory& directory() const { return directory_; }

  /// Hands over each block of symbol `number`, in order, and each damage.
  /// REQUIRES 1 <= number <= number of symbols.
  void check(std::uint32_t number, const std::function<void(const zdb::zxfile::Block&)>& onBlock,
             const std::function<void(const Damage&)>& onDamage);

 private:
  bool read(zdb::zxfile::BlockPlace& place, std::string& reason);
  zdb::zxfile::BlockPlace nextReadable(const zdb::zxfile::BlockPlace& damaged);
  bool holdsBlock(const zdb::zxfile::BlockPlace& place);

  zdb::zxfile::InputFile file_;
  zdb::zxfile::Directory directory_;
  zdb::zxfile::BlockReader blocks_;
  zdb::zxfile::Block block_;
  zdb::zxfile::Bytes payload_;
  /// A file may be made to look like blocks everywhere: so much is tried in a symbol after damages.
  std::uint64_t bytesToTry_ = 0;
  std::vector<int> lastKey_;  ///< of the symbol's last block; empty before the first
};

}  // namespace zdb::tool
