#include "arrow/gather.h"

#include <algorithm>
#include <limits>

namespace zdb::arrow {

namespace {

constexpr std::int64_t kMostRows = std::numeric_limits<int>::max();

template <class T>
InColumn columnOf(const std::vector<T>& values) {
  return {reinterpret_cast<const std::byte*>(values.data()), sizeof(T)};
}

}  // namespace

Gather::Gather(ZDB& db, const ImportPlan& plan, OnFailure onFailure, BulkOutcome& outcome)
    : db_(db),
      plan_(plan),
      onFailure_(onFailure),
      outcome_(outcome),
      labels_(plan.labels.size()),
      numbers_(plan.numbers.size()),
      textEnds_(1, 0) {}

bool Gather::take(const ArrowArray& batch) {
  const bool isBatch = batch.length >= 0 && batch.offset >= 0 &&
                       batch.n_children == plan_.columns() &&
                       (batch.n_children == 0 || batch.children != nullptr);
  if (!isBatch) throw StreamError(ErrorByCallback, "a batch of the stream does not fit its schema");
  if (batch.length > kMostRows - taken_) {
    throw StreamError(ErrorArgument, "the stream has more records than a symbol can hold");
  }
  end_ = batch.length;
  bad_.clear();
  for (auto& column : labels_) column.resize(static_cast<std::size_t>(taken_ + batch.length));
  for (auto& column : numbers_) column.resize(static_cast<std::size_t>(taken_ + batch.length));
  takeColumns(batch);
  const bool isWhole = end_ == batch.length;
  leaveOut();
  seen_ += batch.length;
  return isWhole;
}

/// Each column may leave fewer records. Texts come last and are taken from what is left only.
void Gather::takeColumns(const ArrowArray& batch) {
  refuseNulls({batch, batch.offset, -1});
  int number = 0;
  for (std::size_t i = 0; i < labels_.size(); ++i) {
    takeLabels(childOf(batch, number++), plan_.labels[i], labels_[i].data() + taken_);
  }
  for (std::size_t i = 0; i < numbers_.size(); ++i) {
    const Column column = childOf(batch, number++);
    plan_.numbers[i].read(column.array, column.first, end_, numbers_[i].data() + taken_);
    refuseNulls(column);
  }
  if (!plan_.texts.empty()) takeTexts(childOf(batch, number), plan_.texts.front());
}

/// The offset of a batch counts for its columns as well.
Gather::Column Gather::childOf(const ArrowArray& batch, int number) const {
  const ArrowArray* array = batch.children[number];
  if (array == nullptr || array->offset < 0 || array->length - batch.offset < batch.length) {
    throw StreamError(ErrorByCallback, plan_.names[static_cast<std::size_t>(number)] +
                                           " of the stream is shorter than its batch");
  }
  return {*array, batch.offset + array->offset, number};
}

void Gather::takeLabels(const Column& column, const TextFormat& format, int* out) {
  TextReader reader(format, column.array);
  const auto merge = [&](const std::string_view* texts, int count, int* numbers) {
    uellist::LabelCheck check;
    return db_.labels().mergeMany(texts, count, numbers, check);
  };
  for (std::int64_t row = 0; row < end_; ++row) {
    row += reader.read(column.first + row, end_ - row, merge, out + row);
    if (row == end_) return;
    if (reader.isNull(column.first + row)) {
      refuseNull(row, column.number);
    } else {
      refuseLabel(row, column.number, reader[column.first + row]);
    }
  }
}

void Gather::takeTexts(const Column& column, const TextFormat& format) {
  const TextReader reader(format, column.array);
  for (std::int64_t row = 0; row < end_; ++row) {
    if (isBad(row)) continue;
    if (reader.isNull(column.first + row)) {
      refuseNull(row, column.number);
      continue;
    }
    texts_ += reader[column.first + row];
    textEnds_.push_back(static_cast<std::int64_t>(texts_.size()));
  }
}

void Gather::refuseNulls(const Column& column) {
  const Validity validity(column.array);
  if (!validity.hasNulls()) return;
  for (std::int64_t row = 0; row < end_; ++row) {
    if (validity.isNull(column.first + row)) refuseNull(row, column.number);
  }
}

void Gather::refuseNull(std::int64_t row, int column) {
  if (!refuse(row, column, ErrorArgument)) return;
  const char* name =
      column < 0 ? "the record" : plan_.names[static_cast<std::size_t>(column)].c_str();
  const long long inStream = seen_ + row;
  writeMessage(outcome_.text, "row %lld of the stream, %s: null", inStream, name);
}

void Gather::refuseLabel(std::int64_t row, int column, std::string_view text) {
  if (!refuse(row, column, ErrorLabel)) return;
  const std::int64_t ends[] = {0, static_cast<std::int64_t>(text.size())};
  TextColumn one;
  one.bytes = text.data();
  one.offsets64 = ends;
  int number;
  BulkOutcome why;
  addLabels(db_, one, 1, &number, FailureKeep, why);
  const long long inStream = seen_ + row;
  writeMessage(outcome_.text, "row %lld of the stream, %s: %s", inStream,
               plan_.names[static_cast<std::size_t>(column)].c_str(), why.text);
}

/// Leaves a record out or ends the batch before it. Whether it is the first such record, which is
/// to be described.
bool Gather::refuse(std::int64_t row, int column, ErrorKind kind) {
  if (onFailure_ == FailureSkip) {
    bad_.resize(static_cast<std::size_t>(end_));
    bad_[static_cast<std::size_t>(row)] = 1;
  } else {
    end_ = row;
  }
  if (outcome_.row >= 0 && outcome_.row <= seen_ + row) return false;
  outcome_.note(kind, seen_ + row, column);
  return true;
}

void Gather::leaveOut() {
  std::vector<std::size_t> kept;
  for (std::int64_t row = 0; !bad_.empty() && row < end_; ++row) {
    if (isBad(row)) {
      left_.push_back(seen_ + row);
    } else {
      kept.push_back(static_cast<std::size_t>(taken_ + row));
    }
  }
  const auto moveUp = [&](auto& column) {
    auto to = column.begin() + taken_;
    for (const std::size_t from : kept) *to++ = column[from];
  };
  for (auto& column : labels_) moveUp(column);
  for (auto& column : numbers_) moveUp(column);
  taken_ += bad_.empty() ? end_ : static_cast<std::int64_t>(kept.size());
}

RecordColumns Gather::columns() const {
  RecordColumns columns;
  columns.rows = taken_;
  for (std::size_t i = 0; i < labels_.size(); ++i) columns.keys[i] = columnOf(labels_[i]);
  for (std::size_t i = 0; i < numbers_.size(); ++i) columns.values[i] = columnOf(numbers_[i]);
  if (!plan_.texts.empty()) {
    columns.texts.bytes = texts_.data();
    columns.texts.offsets64 = textEnds_.data();
  }
  return columns;
}

std::int64_t Gather::rowInStream(std::int64_t row) const {
  for (const std::int64_t left : left_) {
    if (left > row) break;
    ++row;
  }
  return row;
}

}  // namespace zdb::arrow
