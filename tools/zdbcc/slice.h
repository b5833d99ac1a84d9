#pragma once

#include <array>
#include <string>

#include "exchangefile.h"

namespace zdb::tool {

/// Part of a symbol, as in need, need(bread), or flow('New York',*): a label for some positions,
/// all labels for the others.
struct Slice {
  FileSymbol symbol;
  bool isWhole = true;
  std::array<int, ZDB_MAX_DIM> labels{};  ///< by number; 0 stands for all
};

/// Reads a slice of a file's symbol. Throws ToolError, with a guess if the symbol or a label
/// is not there.
Slice readSlice(const ExchangeFile& file, const std::string& text);

/// The records of a slice, in the order of their keys. Blocks before the slice and after it are not
/// read, but for some that lead to it.
class SliceRecords {
 public:
  SliceRecords(const ExchangeFile& file, const Slice& slice);

  /// As FileRecords::next().
  bool next();
  /// Goes before the first record again, by the labels that the slice has now.
  void restart();
  /// As FileRecords::keepBlocks(), for many restarts.
  void keepBlocks(std::size_t bytes) { records_.keepBlocks(bytes); }
  const FileRecords& record() const { return records_; }

 private:
  const Slice& slice_;
  FileRecords records_;
  std::size_t dim_;
  std::size_t fixed_ = 0;  ///< so many positions from the first on have a label
};

}  // namespace zdb::tool
