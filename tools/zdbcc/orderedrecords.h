#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "labelorder.h"
#include "progress.h"
#include "recordsorter.h"

namespace zdb::tool {

/// The records of a symbol with new label numbers, in the order of these. They are streamed where
/// they come in that order; otherwise, as a first pass finds out, all of them are sorted first, in
/// memory that does not grow with them (see RecordSorter).
///
/// One at a time for each file. Throws ToolError if the file cannot be read.
class OrderedRecords {
 public:
  /// `numbers` must last as long and have a number for each label of the records. What is read here
  /// already is counted as work that is done, and added to the `total` of work.
  OrderedRecords(ExchangeFile& file, const FileSymbol& symbol, const LabelNumbers& numbers,
                 Progress& progress, std::uint64_t& total);

  /// Goes to the next record; the first call to the first. False after the last one.
  bool next() { return sorter_ ? nextOfSorted() : nextOfStream(); }
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
  bool nextOfSorted();
  void renumber() {
    for (std::size_t d = 0; d < dim_; ++d) {
      keys_[d] = numbers_.byOwn[static_cast<std::size_t>(stream_->keys()[d])];
    }
  }
  bool comeInOrder(const FileSymbol& symbol, Progress& progress, std::uint64_t& total);
  void sort(const FileSymbol& symbol, Progress& progress, std::uint64_t& total);

  ExchangeFile& file_;
  const LabelNumbers& numbers_;
  std::size_t dim_;
  std::size_t width_;
  std::optional<FileRecords> stream_;
  std::array<int, ZDB_MAX_DIM> keys_{};
  const double* values_ = nullptr;
  std::optional<RecordSorter> sorter_;  ///< of records that do not come in order
};

}  // namespace zdb::tool
