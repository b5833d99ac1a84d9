#include "symbols/columnwriter.h"

namespace zdb {

namespace {

/// Copies numbers at equal distances. Columns without gaps are the usual case, for which the
/// distance is a constant.
template <class T>
void copyNumbers(const T* from, std::ptrdiff_t step, int count, const OutColumn& to,
                 std::int64_t row) {
  std::byte* place = to.at(row);
  if (to.stride == sizeof(T)) {
    for (int i = 0; i < count; ++i) store(place + i * sizeof(T), from[i * step]);
  } else {
    for (int i = 0; i < count; ++i) store(place + i * to.stride, from[i * step]);
  }
}

}  // namespace

void ColumnWriter::write(const dmap::RecordRun& run) {
  for (int position = 0; position < dim_; ++position) writeKeys(run, position);
  for (int field = 0; field < width_; ++field) {
    if (buffers_.values[static_cast<std::size_t>(field)]) writeField(run, field);
  }
  if (buffers_.texts) writeTexts(run);
  row_ += run.count;
}

void ColumnWriter::writeKeys(const dmap::RecordRun& run, int position) {
  const int* labels = run.keys + position * run.positionStep;
  const auto place = static_cast<std::size_t>(position);
  if (buffers_.keys[place]) copyNumbers(labels, run.keyStep, run.count, buffers_.keys[place], row_);
  const OutColumn& texts = buffers_.labels[place];
  if (!texts) return;
  for (int i = 0; i < run.count; ++i) {
    store(texts.at(row_ + i), db_.labelText(labels[i * run.keyStep]));
  }
}

void ColumnWriter::writeField(const dmap::RecordRun& run, int field) {
  const OutColumn& column = buffers_.values[static_cast<std::size_t>(field)];
  if (run.values == nullptr) {
    for (int i = 0; i < run.count; ++i) store(column.at(row_ + i), 0.0);
    return;
  }
  const double* values = run.values + field * run.fieldStep;
  const SpecialValueMap& specials = db_.specialValues();
  if (specials.state() == 0) return copyNumbers(values, run.valueStep, run.count, column, row_);
  for (int i = 0; i < run.count; ++i) {
    store(column.at(row_ + i), specials.toUser(values[i * run.valueStep]));
  }
}

void ColumnWriter::writeTexts(const dmap::RecordRun& run) {
  for (int i = 0; i < run.count; ++i) {
    const double value = run.values == nullptr ? 0 : run.values[i * run.valueStep];
    store(buffers_.texts.at(row_ + i), textOf(value));
  }
}

void ColumnWriter::writeValues(std::int64_t row, const double* values) {
  for (int field = 0; field < width_; ++field) {
    const OutColumn& column = buffers_.values[static_cast<std::size_t>(field)];
    if (column) store(column.at(row), db_.specialValues().toUser(values[field]));
  }
  if (buffers_.texts) store(buffers_.texts.at(row), textOf(values[0]));
}

/// Texts never move, so the host may keep their addresses.
const char* ColumnWriter::textOf(double value) const {
  return width_ == 1 ? db_.elementText(textNumber(value)) : "";
}

}  // namespace zdb
