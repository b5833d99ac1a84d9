#pragma once

#include "core/zdb.h"
#include "symbols/columnreader.h"

namespace zdb {

/// Checks label numbers and element texts of all rows, and whether the keys ascend.
///
/// The rows that can be taken are, with FailureSkip, all that are in order, and otherwise those
/// before the first that is not, which is described in the outcome.
class RowCheck {
 public:
  RowCheck(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordColumns& columns,
           OnFailure onFailure, BulkOutcome& outcome);

  /// Returns the rows that can be taken. Throws std::bad_alloc.
  RowList run();
  /// Whether the key of each row is greater than that of the row before.
  bool isAscending() const { return isAscending_; }

 private:
  static constexpr int kBlock = ColumnReader::kBlock;

  bool checkBlock(std::int64_t from, int count);
  const int* labelsOf(int position, std::int64_t from, int count, int* copies) const;
  void checkEach(std::int64_t from, int count);
  void refuse(std::int64_t row, const BulkOutcome& why);
  bool canTake(std::int64_t row, BulkOutcome& why) const;
  bool textFits(std::int64_t row, BulkOutcome& why) const;

  const ZDB& db_;
  const AbstractZDBSymbol& symbol_;
  const RecordColumns& columns_;
  OnFailure onFailure_;
  BulkOutcome& outcome_;
  RowList list_;
  bool isAscending_ = true;
  bool isStopped_ = false;
};

}  // namespace zdb
