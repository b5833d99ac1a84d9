#pragma once

#include <cstdint>
#include <memory>

#include "core/zdb.h"
#include "symbols/columns.h"

namespace zdb {

/// Some rows of a host's columns in the order in which they are to be taken: all of them as they
/// come, or those that are listed.
struct RowList {
  std::unique_ptr<std::int32_t[]> rows;  ///< null: 0, 1, 2, ...
  std::int64_t count = 0;

  std::int64_t operator[](std::int64_t i) const {
    return rows == nullptr ? i : rows[static_cast<std::size_t>(i)];
  }
};

/// Rows of a host's columns, gathered block by block into adjacent keys and rows as
/// containers take them.
class ColumnReader {
 public:
  static constexpr int kBlock = 256;  ///< few enough to stay in the first-level cache

  /// For records of this symbol. Missing columns stand for the default row.
  ColumnReader(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordColumns& columns);
  /// From now on the value of a row is the number of its element text; per row.
  void setTexts(const int* numbers) { texts_ = numbers; }

  int dim() const { return dim_; }
  int width() const { return width_; }
  /// The keys of `count` entries of the list from `from` on: count * dim() label numbers.
  void keys(const RowList& list, std::int64_t from, int count, int* out) const;
  /// Their rows: count * width() doubles, with the library's special values.
  void rows(const RowList& list, std::int64_t from, int count, double* out) const;
  int label(std::int64_t row, int position) const {
    return load<int>(columns_.keys[static_cast<std::size_t>(position)].at(row));
  }

 private:
  const ZDB& db_;
  const RecordColumns& columns_;
  const int* texts_ = nullptr;
  const double* defaults_;
  int dim_;
  int width_;
};

}  // namespace zdb
