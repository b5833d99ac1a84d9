#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "temporaryfile.h"
#include "zdbcclib.h"

namespace zdb::tool {

/// Sorts records by their label numbers in 32 MB of memory, however many they are. More than fit
/// into these are written to a temporary file, piece by sorted piece, and merged from it. There a
/// record takes 8 bytes for each value, and 8 for as many labels as have room in these.
///
/// Functions throw ToolError if the file fails, and InterruptedError after Ctrl-C.
class RecordSorter {
 public:
  /// `largest` is the largest label number.
  RecordSorter(std::size_t dim, std::size_t width, int largest);

  void add(const int* keys, const double* values);
  /// After the last add() and before the first next().
  void sort();
  /// Goes to the next record; the first call to the first. False after the last one.
  bool next();
  /// Of the record at hand; valid until next().
  const int* keys() const { return keys_.data(); }
  const double* values() const { return values_.data(); }

 private:
  /// A record in memory: labels packed into words so that the words compare as they do, and values.
  using Row = const std::uint64_t*;
  struct Entry {
    std::uint64_t firstWord;
    std::uint32_t row;
  };
  /// A sorted part of the file, and the rows of it that are in memory.
  struct Piece {
    std::uint64_t place;
    std::uint64_t rowsInFile;  ///< from there on
    std::vector<std::uint64_t> buffer;
    std::size_t at = 0;
  };

  Row rowOf(const Entry& entry) const { return rows_.data() + entry.row * rowWords_; }
  Row rowOf(const Piece& piece) const { return piece.buffer.data() + piece.at; }
  bool isLess(Row a, Row b) const;
  void sortRows();
  void spill();
  void startMerge();
  bool fill(Piece& piece) const;
  bool nextOfPieces();
  void take(Row row);

  std::size_t dim_;
  std::size_t width_;
  unsigned bits_;  ///< of a label
  std::size_t labelsInWord_;
  std::size_t keyWords_;
  std::size_t rowWords_;
  std::size_t mostRows_;  ///< in memory

  std::vector<std::uint64_t> rows_;
  std::vector<Entry> order_;
  std::size_t at_ = 0;

  std::optional<TemporaryFile> file_;
  std::vector<Piece> pieces_;
  std::vector<Piece*> heap_;  ///< the piece with the least row first
  std::size_t bufferRows_ = 0;

  std::array<int, ZDB_MAX_DIM> keys_{};
  std::array<double, ZDB_MAX_VALUES> values_{};
};

}  // namespace zdb::tool
