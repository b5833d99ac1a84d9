// Blocks: up to kMaxBlockRecords records of one symbol that are packed, checked and read alone.
#pragma once

#include <array>
#include <vector>

#include "zxf/column.h"
#include "zxf/keys.h"

namespace zdb::zxfile {

/// Collects records of one symbol and packs them into blocks. Values are kept by column from the
/// start, because that is how they are packed.
class BlockWriter {
 public:
  BlockWriter() : columns_(streams_) {}

  /// Begins a symbol: number, dimension, doubles a record.
  /// Nothing may be left of the symbol before.
  void start(std::uint32_t symbol, int dim, int width);

  /// Adds a record; see KeyWriter::add. REQUIRES: not full().
  void add(const int* key, int changed, const double* values) {
    const std::uint32_t at = keys_.count();
    keys_.add(key, changed);
    for (int c = 0; c < width_; ++c) values_[c][at] = values[c];
  }
  bool full() const { return keys_.count() == kMaxBlockRecords; }
  bool empty() const { return keys_.count() == 0; }

  /// Packs the collected records into header and payload and begins the next block. The result
  /// stays valid until the next call.
  ByteSpan pack(const SpecialMatcher& specials);

 private:
  std::uint32_t symbol_ = 0;
  std::uint32_t firstRecord_ = 0;
  int dim_ = 0;
  int width_ = 1;
  StreamWriter streams_;
  KeyWriter keys_;
  ColumnWriter columns_;
  std::array<std::vector<double>, 5> values_;  ///< each kMaxBlockRecords long once used
  Bytes payload_;
  Bytes block_;
};

/// The checksum that belongs into a block's header.
std::uint64_t blockChecksum(BlockHeader header, ByteSpan payload);

/// Unpacked records of one block, in the two shapes that are cheapest to copy out: keys together,
/// values by column.
struct Block {
  std::uint32_t count = 0;
  std::vector<int> rows;                       ///< `dim` labels a record
  std::vector<std::uint8_t> changed;           ///< first changed dimension of each, from 1
  std::array<std::vector<double>, 5> columns;  ///< those in use have `count` values
};

/// Unpacks payloads whose checksum has been verified, which still may hold anything.
class BlockReader {
 public:
  BlockReader() : keys_(streams_), columns_(streams_) {}

  /// Fills `block` with `count` records; count is in [1, kMaxBlockRecords].
  void read(ByteSpan payload, const SymbolEntry& symbol, std::uint32_t count,
            std::uint32_t labelCount, const SpecialValues& delivered, Block& block);

 private:
  StreamReader streams_;
  KeyReader keys_;
  ColumnReader columns_;
};

}  // namespace zdb::zxfile
