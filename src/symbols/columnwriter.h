#pragma once

#include "core/zdb.h"
#include "dmap/recordrun.h"
#include "symbols/columns.h"

namespace zdb {

/// Writes runs of records to the columns of a host, one run after the other.
class ColumnWriter {
 public:
  /// For records of this symbol; of the universe, runs need no values.
  ColumnWriter(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordBuffers& buffers)
      : db_(db), buffers_(buffers), dim_(symbol.dim), width_(valueWidth(symbol.type)) {}

  void write(const dmap::RecordRun& run);
  /// Writes the values and texts, not the keys, of one record that was found for entry `row`.
  void writeValues(std::int64_t row, const double* values);
  std::int64_t written() const { return row_; }

 private:
  void writeKeys(const dmap::RecordRun& run, int position);
  void writeField(const dmap::RecordRun& run, int field);
  void writeTexts(const dmap::RecordRun& run);
  const char* textOf(double value) const;

  const ZDB& db_;
  const RecordBuffers& buffers_;
  int dim_;
  int width_;
  std::int64_t row_ = 0;
};

}  // namespace zdb
