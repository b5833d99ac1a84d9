#pragma once

#include <string>
#include <vector>

#include "arrow/importplan.h"
#include "symbols/bulk.h"

namespace zdb::arrow {

/// The records of a stream, taken batch by batch into columns of their own: labels are added, all
/// else is left to the put at the end.
class Gather {
 public:
  Gather(ZDB& db, const ImportPlan& plan, OnFailure onFailure, BulkOutcome& outcome);

  /// Takes a batch. With FailureSkip, records that cannot be taken are left out; otherwise they end
  /// it: false. The first is described in the outcome. Throws StreamError and std::bad_alloc.
  bool take(const ArrowArray& batch);

  /// The records taken, valid until the next call of take().
  RecordColumns columns() const;
  /// The row of the stream that became this one of the columns.
  std::int64_t rowInStream(std::int64_t row) const;
  std::int64_t skipped() const { return static_cast<std::int64_t>(left_.size()); }

 private:
  /// A column of the batch: `first` is where its entries begin in the buffers.
  struct Column {
    const ArrowArray& array;
    std::int64_t first;
    int number;
  };

  Column childOf(const ArrowArray& batch, int number) const;
  void takeColumns(const ArrowArray& batch);
  void takeLabels(const Column& column, const TextFormat& format, int* out);
  void takeTexts(const Column& column, const TextFormat& format);
  void refuseNulls(const Column& column);
  void refuseNull(std::int64_t row, int column);
  void refuseLabel(std::int64_t row, int column, std::string_view text);
  bool refuse(std::int64_t row, int column, ErrorKind kind);
  bool isBad(std::int64_t row) const {
    return !bad_.empty() && bad_[static_cast<std::size_t>(row)] != 0;
  }
  void leaveOut();

  ZDB& db_;
  const ImportPlan& plan_;
  OnFailure onFailure_;
  BulkOutcome& outcome_;
  std::vector<std::vector<int>> labels_;
  std::vector<std::vector<double>> numbers_;
  std::string texts_;
  std::vector<std::int64_t> textEnds_;
  std::vector<std::int64_t> left_;  ///< rows of the stream that were left out, ascending
  std::int64_t taken_ = 0;          ///< records in the columns
  std::int64_t seen_ = 0;           ///< rows of earlier batches
  std::int64_t end_ = 0;            ///< rows of this batch that may still be taken
  std::vector<char> bad_;           ///< which of them cannot; empty if all can
};

}  // namespace zdb::arrow
