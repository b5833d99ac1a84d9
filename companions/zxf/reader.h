// Reading: the directory is in memory once a file is open, records come block by block.
#pragma once

#include <memory>

#include "zxf/block.h"
#include "zxf/directory.h"

namespace zdb::zxfile {

/// An open file. One symbol can be read at a time, forwards; a block is unpacked as a whole into
/// plain arrays, so that handing out a record is a few copies without a decision.
class Reader {
 public:
  /// Fails as InputFile and readDirectory() do.
  explicit Reader(const char* path) : file_(path), directory_(readDirectory(file_)) {}

  const Directory& directory() const { return directory_; }

  /// Symbol number n of [1, symbols], checked: fails with BadSymbolNumber.
  const SymbolEntry& symbol(int number) const;

  /// Begins to read a symbol's records and returns their count; ends what was read before. The
  /// first block is read at once, so a symbol that is damaged there fails here.
  int start(int number, const SpecialValues& delivered);
  bool started() const { return symbol_ != nullptr; }
  int dim() const { return symbol_->dim; }
  void stop();

  /// Makes sure that a record is at hand: false behind the last one. Fails with DamagedRecords,
  /// TruncatedFile or ReadFailed; after that there are no more records.
  bool ready(const SpecialValues& delivered) { return at_ < block_.count || nextBlock(delivered); }

  /// Copies out the record at hand and goes on: `dim` labels, 1 or 5 values, the first changed
  /// dimension from 1 (0 without dimensions). REQUIRES: ready() gave true.
  void take(int* key, double* values, int* changed) {
    const int* row = block_.rows.data() + std::size_t{at_} * rowSize_;
    for (int d = 0; d < rowSize_; ++d) key[d] = row[d];
    values[0] = block_.columns[0][at_];
    for (int c = 1; c < width_; ++c) values[c] = block_.columns[c][at_];
    *changed = block_.changed[at_++];
  }

 private:
  /// Reads the next block of the symbol; false when there is none.
  bool nextBlock(const SpecialValues& delivered);
  void readBlock(const SpecialValues& delivered);
  /// Reads header and payload and checks one against the other and against the symbol.
  BlockHeader readBlockHeader();
  /// Checks that the block's first key comes behind `previous` and says where it differs.
  void joinToPrevious(std::span<const int> previous);

  InputFile file_;
  Directory directory_;
  BlockReader blocks_;
  const SymbolEntry* symbol_ = nullptr;
  std::uint32_t number_ = 0;
  int rowSize_ = 0;
  int width_ = 1;
  std::uint32_t recordsRead_ = 0;  ///< in blocks up to the present one
  std::uint64_t offset_ = 0;       ///< of the next block
  Block block_;
  std::uint32_t at_ = 0;
  Bytes payload_;
};

}  // namespace zdb::zxfile
