// Blocks: up to kMaxBlockRecords records of one symbol, packed, checked and read independently.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "zxf/column.h"
#include "zxf/keys.h"

namespace zdb::zxfile {

/// Collects records of one symbol and packs them into blocks. Values are kept by column from the
/// start, because that is how they are packed.
class BlockWriter {
 public:
  BlockWriter() : columns_(streams_) {}

  /// Begins a symbol: its number, dimension and doubles per record.
  /// REQUIRES empty().
  void start(std::uint32_t symbol, int dim, int width);

  /// Adds a record; see KeyWriter::add.
  /// REQUIRES not full().
  void add(const int* key, int changed, const double* values) {
    const std::uint32_t at = keys_.count();
    keys_.add(key, changed);
    for (int c = 0; c < width_; ++c) values_[c][at] = values[c];
  }
  bool full() const { return keys_.count() == kMaxBlockRecords; }
  bool empty() const { return keys_.count() == 0; }

  /// Packs the collected records into header and payload and begins the next block. The result is
  /// valid until the next call.
  /// REQUIRES !empty().
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

/// The checksum for a block's header.
std::uint64_t blockChecksum(BlockHeader header, ByteSpan payload);

/// Unpacked records of one block, in the layout that is cheapest to copy from: keys row by row,
/// values column by column.
struct Block {
  std::uint32_t count = 0;
  std::vector<int> rows;                       ///< `dim` labels per record
  std::vector<std::uint8_t> changed;           ///< first changed dimension of each record, from 1
  std::array<std::vector<double>, 5> columns;  ///< those in use have `count` values
};

/// Where columns of records go: label d of record i to keys[d][i * keyStep], value c to
/// values[c][i * valueStep].
struct ColumnPlaces {
  std::span<int* const> keys;
  std::ptrdiff_t keyStep = 1;
  std::span<double* const> values;
  std::ptrdiff_t valueStep = 1;

  /// Whether a block can be unpacked there: values without gaps, and keys without gaps or, as in a
  /// Block, row by row.
  bool areDense() const { return !keys.empty() && valueStep == 1 && (keyStep == 1 || areRows()); }
  bool areRows() const {
    bool areThey = keyStep == std::ssize(keys);
    for (std::size_t d = 1; d < keys.size(); ++d) areThey &= keys[d] == keys[0] + d;
    return areThey;
  }
};

/// Unpacks payloads. Their checksums have been verified, but they may still hold anything: an
/// attacker can compute a checksum.
class BlockReader {
 public:
  BlockReader() : keys_(streams_), columns_(streams_) {}

  /// Fills `block` with `count` records.
  /// REQUIRES 1 <= count <= kMaxBlockRecords.
  void read(ByteSpan payload, const SymbolEntry& symbol, std::uint32_t count,
            std::uint32_t labelCount, const SpecialValues& delivered, Block& block);

  /// The same into columns of a caller.
  /// REQUIRES to.areDense().
  void read(ByteSpan payload, const SymbolEntry& symbol, std::uint32_t count,
            std::uint32_t labelCount, const SpecialValues& delivered, const ColumnPlaces& to);

 private:
  void readValues(FieldReader& in, SymbolType type, std::uint32_t count,
                  const SpecialValues& delivered, std::span<double* const> columns);

  StreamReader streams_;
  KeyReader keys_;
  ColumnReader columns_;
  std::vector<std::uint8_t> changed_;  ///< which columns of a caller do without
};

}  // namespace zdb::zxfile
