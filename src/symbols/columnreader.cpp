#include "symbols/columnreader.h"

#include "symbols/defaultrows.h"

namespace zdb {

namespace {

/// Gathers one column to every `step`th entry of `out`. The usual column, without gaps and in the
/// order in which it is taken, has a loop of its own.
template <class T>
void gather(const InColumn& column, const RowList& list, std::int64_t from, int count, T* out,
            int step) {
  if (list.packed) {
    for (int i = 0; i < count; ++i) {
      out[std::ptrdiff_t{i} * step] = load<T>(column.at(list.packed.row(from + i)));
    }
    return;
  }
  if (list.rows != nullptr) {
    const std::int32_t* rows = list.rows.get() + from;
    for (int i = 0; i < count; ++i) out[std::ptrdiff_t{i} * step] = load<T>(column.at(rows[i]));
    return;
  }
  const std::byte* place = column.at(from);
  if (column.stride == sizeof(T)) {
    for (int i = 0; i < count; ++i) out[std::ptrdiff_t{i} * step] = load<T>(place + i * sizeof(T));
  } else {
    for (int i = 0; i < count; ++i) {
      out[std::ptrdiff_t{i} * step] = load<T>(place + i * column.stride);
    }
  }
}

/// Gathers keys of few labels row by row, which writes each once; the rows are adjacent.
template <int N>
void gatherKeys(const RecordColumns& columns, std::int64_t from, int count, int* out) {
  const std::byte* places[N];
  std::ptrdiff_t strides[N];
  for (std::size_t i = 0; i < N; ++i) {
    places[i] = columns.keys[i].at(from);
    strides[i] = columns.keys[i].stride;
  }
  for (int row = 0; row < count; ++row, out += N) {
    for (int i = 0; i < N; ++i) {
      out[i] = load<int>(places[i]);
      places[i] += strides[i];
    }
  }
}

/// Takes keys from the words that they were sorted in, without looking at the columns again.
void unpackKeys(const PackedRows& packed, int dim, std::int64_t from, int count, int* out) {
  const std::uint64_t mask = (std::uint64_t{1} << packed.labelBits) - 1;
  for (int i = 0; i < count; ++i, out += dim) {
    std::uint64_t key = packed.key(from + i);
    for (int position = dim - 1; position >= 0; --position, key >>= packed.labelBits) {
      out[position] = static_cast<int>(key & mask);
    }
  }
}

}  // namespace

ColumnReader::ColumnReader(const ZDB& db, const AbstractZDBSymbol& symbol,
                           const RecordColumns& columns)
    : db_(db),
      columns_(columns),
      defaults_(defaultRow(symbol)),
      dim_(symbol.dim),
      width_(valueWidth(symbol.type)) {}

void ColumnReader::keys(const RowList& list, std::int64_t from, int count, int* out) const {
  if (list.packed) return unpackKeys(list.packed, dim_, from, count, out);
  if (list.rows == nullptr) {
    if (dim_ == 2) return gatherKeys<2>(columns_, from, count, out);
    if (dim_ == 3) return gatherKeys<3>(columns_, from, count, out);
    if (dim_ == 4) return gatherKeys<4>(columns_, from, count, out);
  }
  for (int position = 0; position < dim_; ++position) {
    gather(columns_.keys[static_cast<std::size_t>(position)], list, from, count, out + position,
           dim_);
  }
}

void ColumnReader::rows(const RowList& list, std::int64_t from, int count, double* out) const {
  const SpecialValueMap& specials = db_.specialValues();
  for (int field = 0; field < width_; ++field) {
    const InColumn& column = columns_.values[static_cast<std::size_t>(field)];
    double* to = out + field;
    if (texts_ != nullptr) {
      for (int i = 0; i < count; ++i) to[i] = texts_[list[from + i]];
    } else if (column) {
      gather(column, list, from, count, to, width_);
      if (specials.state() == 0) continue;
      for (int i = 0; i < count; ++i, to += width_) *to = specials.toLibrary(*to);
    } else {
      for (int i = 0; i < count; ++i, to += width_) *to = defaults_[field];
    }
  }
}

}  // namespace zdb
