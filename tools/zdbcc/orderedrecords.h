#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "labelorder.h"

namespace zdb::tool {

/// The records of a symbol with new label numbers, in the order of these. They are streamed where
/// they come in that order; otherwise, as a first pass finds out, all of them are loaded and
/// sorted: 4 bytes for each label, 8 for each value and 4 more.
///
/// One at a time for each file. Throws ToolError if the file cannot be read.
class OrderedRecords {
 public:
  /// `numbers` must last as long and have a number for each label of the records.
  OrderedRecords(ExchangeFile& file, const FileSymbol& symbol, const LabelNumbers& numbers);

  /// Goes to the next record; the first call to the first. False after the last one.
  bool next() { return stream_ ? nextOfStream() : nextOfLoaded(); }
  const ExchangeFile& file() const { return file_; }
  const int* keys() const { return keys_.data(); }
  /// As in FileRecords.
  const double* values() const { return values_; }
  std::string_view text() const { return file_.elementText(values_[0]); }

 private:
  bool nextOfStream() {
    if (!stream_->next()) return false;
    renumber();
    return true;
  }
  bool nextOfLoaded();
  void renumber() {
    for (std::size_t d = 0; d < dim_; ++d) {
      keys_[d] = numbers_.byOwn[static_cast<std::size_t>(stream_->keys()[d])];
    }
  }
  bool comeInOrder(const FileSymbol& symbol);
  void load(const FileSymbol& symbol);

  ExchangeFile& file_;
  const LabelNumbers& numbers_;
  std::size_t dim_;
  std::size_t width_;
  std::optional<FileRecords> stream_;
  std::array<int, ZDB_MAX_DIM> keys_{};
  const double* values_ = nullptr;

  std::vector<int> loadedKeys_;
  std::vector<double> loadedValues_;
  std::vector<std::uint32_t> order_;
  std::size_t at_ = 0;
};

}  // namespace zdb::tool
