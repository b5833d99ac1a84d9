#pragma once

#include <cstdint>
#include <memory>

#include "core/zdb.h"
#include "symbols/columns.h"

namespace zdb {

/// Rows with their keys, each in one word: the labels of a key in `labelBits` each, the first one
/// on top, and below them the row in `rowBits`. So both come in order when the words do.
struct PackedRows {
  std::unique_ptr<std::uint64_t[]> words;
  int labelBits = 0;
  int rowBits = 0;

  explicit operator bool() const { return words != nullptr; }
  std::int64_t row(std::int64_t i) const {
    const std::uint64_t mask = (std::uint64_t{1} << rowBits) - 1;
    return static_cast<std::int64_t>(words[static_cast<std::size_t>(i)] & mask);
  }
  std::uint64_t key(std::int64_t i) const { return words[static_cast<std::size_t>(i)] >> rowBits; }
};

/// Some rows of a host's columns in the order in which they are to be taken: all of them as they
/// come, or those that are listed, perhaps with their keys.
struct RowList {
  std::unique_ptr<std::int32_t[]> rows;  ///< null: 0, 1, 2, ...
  PackedRows packed;                     ///< these count if they are there
  std::int64_t count = 0;

  std::int64_t operator[](std::int64_t i) const {
    if (packed) return packed.row(i);
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
  /// Whether two entries of the list have the same key.
  bool sameKey(const RowList& list, std::int64_t a, std::int64_t b) const {
    if (list.packed) return list.packed.key(a) == list.packed.key(b);
    for (int position = 0; position < dim_; ++position) {
      if (label(list[a], position) != label(list[b], position)) return false;
    }
    return true;
  }
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
