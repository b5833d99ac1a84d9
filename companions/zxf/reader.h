// Reading: the directory is in memory once a file is open, records come block by block.
#pragma once

#include <memory>

#include "zxf/block.h"
#include "zxf/directory.h"

namespace zdb::zxfile {

/// An open file. One symbol can be read at a time, from first to last record; a block is unpacked
/// as a whole into plain arrays, so that take() only copies.
class Reader {
 public:
  /// Fails as InputFile and readDirectory() do.
  explicit Reader(const char* path) : file_(path), directory_(readDirectory(file_)) {}

  const Directory& directory() const { return directory_; }

  /// The symbol with that number. Fails with BadSymbolNumber unless 1 <= number <= symbols.
  const SymbolEntry& symbol(int number) const;

  /// Starts to read a symbol's records and returns their number; ends reading of the previous
  /// symbol. The first block is read immediately, so this fails if it is damaged.
  int start(int number, const SpecialValues& delivered);
  bool started() const { return symbol_ != nullptr; }
  int dim() const { return symbol_->dim; }
  void stop();

  /// Whether there is another record; reads the next block if necessary. Fails with DamagedRecords,
  /// TruncatedFile or ReadFailed; then there are no more records.
  bool ready(const SpecialValues& delivered) { return at_ < block_.count || nextBlock(delivered); }

  /// Copies the next record: `dim` labels, 1 or 5 values, and the first changed dimension from 1 (0
  /// without dimensions). REQUIRES: ready() returned true.
  void take(int* key, double* values, int* changed) {
    const int* row = block_.rows.data() + std::size_t{at_} * rowSize_;
    for (int d = 0; d < rowSize_; ++d) key[d] = row[d];
    values[0] = block_.columns[0][at_];
    for (int c = 1; c < width_; ++c) values[c] = block_.columns[c][at_];
    *changed = block_.changed[at_++];
  }

 private:
  /// Reads the next block of the symbol; false if there is none.
  bool nextBlock(const SpecialValues& delivered);
  void readBlock(const SpecialValues& delivered);
  /// Reads header and payload and checks them against each other and the symbol.
  BlockHeader readBlockHeader();
  /// Checks that the block's first key is after `previous`, and sets its first changed dimension.
  void joinToPrevious(std::span<const int> previous);

  InputFile file_;
  Directory directory_;
  BlockReader blocks_;
  const SymbolEntry* symbol_ = nullptr;
  std::uint32_t number_ = 0;
  int rowSize_ = 0;
  int width_ = 1;
  std::uint32_t recordsRead_ = 0;  ///< in blocks up to the current one
  std::uint64_t offset_ = 0;       ///< of the next block
  Block block_;
  std::uint32_t at_ = 0;
  Bytes payload_;
};

}  // namespace zdb::zxfile
