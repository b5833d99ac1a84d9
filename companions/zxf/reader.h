// Reading: the directory is in memory once a file is open, records come block by block.
#pragma once

#include <array>
#include <memory>
#include <utility>

#include "zxf/blockcache.h"
#include "zxf/directory.h"

namespace zdb::zxfile {

/// Where a block has to stand.
struct BlockPlace {
  const SymbolEntry* symbol = nullptr;
  std::uint32_t number = 0;       ///< of the symbol
  std::uint64_t offset = 0;       ///< in the file
  std::uint32_t firstRecord = 0;  ///< records of the symbol in the blocks before
};

/// Reads the header of the block at a place and checks it against the symbol, whose space lies
/// inside the file; its checksum is left to readBlockAt(). Fails likewise.
BlockHeader readHeaderAt(const InputFile& file, const BlockPlace& place);

/// Reads header and payload of the block at a place and checks one against the other and against
/// the symbol, whose space lies inside the file. Fails with DamagedRecords and the part that is
/// wrong, TruncatedFile or ReadFailed.
BlockHeader readBlockAt(const InputFile& file, const BlockPlace& place, Bytes& payload);

/// A file whose directory has been read. It does not change, so any number of readers share it.
struct OpenFile {
  /// Fails as InputFile and readDirectory() do.
  explicit OpenFile(const char* path) : input(path), directory(readDirectory(input)) {}

  InputFile input;
  Directory directory;
};

/// Reads the records of an open file. One symbol can be read at a time; a block is unpacked as a
/// whole into plain arrays, so that handing out a record is a few copies without a decision.
class Reader {
 public:
  /// Fails as OpenFile does.
  explicit Reader(const char* path) : Reader(std::make_shared<const OpenFile>(path)) {}
  explicit Reader(std::shared_ptr<const OpenFile> file) : file_(std::move(file)) {}

  const std::shared_ptr<const OpenFile>& file() const { return file_; }
  const Directory& directory() const { return file_->directory; }

  /// Symbol number n of [1, symbols], checked: fails with BadSymbolNumber.
  const SymbolEntry& symbol(int number) const;

  /// Begins to read a symbol's records and returns their count; ends what was read before. The
  /// first block is read at once, so a symbol that is damaged there fails here.
  int start(int number, const SpecialValues& delivered);
  bool started() const { return next_.symbol != nullptr; }
  int dim() const { return next_.symbol->dim; }
  /// Values of a record.
  int width() const { return width_; }
  void stop();

  /// Goes to the first record whose leading labels are not below these, forwards or backwards; if
  /// there is a damaged block among those it looks at, perhaps to one before. Reads about log2 of
  /// the symbol's blocks, and one if it has been near before; blocks that are passed over are not
  /// checked. The first call reads the header of each block, 24 bytes. Fails as ready() does.
  /// REQUIRES: started(); at most dim() labels.
  void seek(std::span<const int> leading, const SpecialValues& delivered);

  /// From now on keeps blocks that seek() comes from in so many bytes, to find them unpacked. Ends
  /// with the symbol. All calls must want the same special values then.
  /// REQUIRES started().
  void keepBlocks(std::size_t bytes);

  /// Makes sure that a record is at hand: false after the last one. Fails with DamagedRecords,
  /// TruncatedFile or ReadFailed; after that there are no more records.
  bool ready(const SpecialValues& delivered) { return at_ < block_.count || nextBlock(delivered); }

  /// Copies out the record at hand and goes on: `dim` labels, 1 or 5 values, the first changed
  /// dimension from 1 (0 without dimensions).
  /// REQUIRES ready() gave true.
  void take(int* key, double* values, int* changed) {
    const int* row = block_.rows.data() + std::size_t{at_} * rowSize_;
    for (int d = 0; d < rowSize_; ++d) key[d] = row[d];
    values[0] = block_.columns[0][at_];
    for (int c = 1; c < width_; ++c) values[c] = block_.columns[c][at_];
    *changed = block_.changed[at_++];
  }

  /// Copies out the next records, at most `room` > 0, and returns how many; 0 after the last one.
  /// A whole block that fits is unpacked where it goes, without a copy, and what lies there after
  /// its records is overwritten if it is damaged. Fails as ready() does.
  /// REQUIRES started(); `to` has dim() columns of labels, and those of the values.
  std::uint32_t takeMany(std::uint32_t room, const ColumnPlaces& to,
                         const SpecialValues& delivered);

 private:
  /// A block of the symbol, and its first key once that has been seen.
  struct Landmark {
    std::uint64_t offset = 0;
    std::uint32_t firstRecord = 0;
    std::vector<int> firstKey = {};
  };

  /// Reads the next block of the symbol; false when there is none.
  bool nextBlock(const SpecialValues& delivered);
  void readBlock(const SpecialValues& delivered);
  /// Unpacks the payload at hand into block_, or to where its records go.
  void unpack(const BlockHeader& header, const SpecialValues& delivered);
  void unpack(const BlockHeader& header, const ColumnPlaces& to, const SpecialValues& delivered);
  void rememberLastKey();
  void pass(const BlockHeader& header);
  std::uint32_t copyOut(std::uint32_t room, const ColumnPlaces& to);
  BlockHeader readPlacedBlock();
  void giveUp();
  void findBlocks();
  /// Makes block number n of the symbol, from 0, the one at hand.
  void jumpTo(std::size_t n, const SpecialValues& delivered);
  void goTo(std::span<const int> leading);
  bool isBefore(std::size_t block, std::span<const int> leading, const SpecialValues& delivered);
  /// The first position, from 1, at which the first key of the next block differs from lastKey_;
  /// checks that it comes after that.
  int joinToPrevious(std::span<const int> firstKey) const;

  std::shared_ptr<const OpenFile> file_;
  BlockReader blocks_;
  BlockPlace next_;                  ///< without a symbol when none is started
  std::vector<Landmark> landmarks_;  ///< empty before the first seek()
  BlockCache kept_;
  int rowSize_ = 0;
  int width_ = 1;
  Block block_;  ///< the one at hand, if it has records
  std::uint32_t at_ = 0;
  std::array<int, kMaxDim> lastKey_{};  ///< of the block before the next
  bool isLastKeyKnown_ = false;         ///< not before the first block, nor after a jump
  Bytes payload_;
};

}  // namespace zdb::zxfile
