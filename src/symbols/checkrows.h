#pragma once

#include "core/zdb.h"
#include "symbols/columnreader.h"

namespace zdb {

/// Checks label numbers and element texts of all rows, and whether the keys ascend.
///
/// Sets `list` to the rows that can be taken: with FailureKeep those before the first that cannot,
/// with FailureSkip all the others. Describes the first that cannot be taken in `outcome`. Returns
/// whether to go on. Throws std::bad_alloc.
class RowCheck {
 public:
  RowCheck(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordColumns& columns,
           OnFailure onFailure, BulkOutcome& outcome);

  bool run(RowList& list);
  /// Whether the key of each row is greater than that of the row before.
  bool isAscending() const { return isAscending_; }

 private:
  static constexpr int kBlock = ColumnReader::kBlock;

  bool checkBlock(std::int64_t from, int count);
  bool checkEach(std::int64_t from, int count);
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
