#include "symbols/checkrows.h"

#include <algorithm>
#include <numeric>

namespace zdb {

RowCheck::RowCheck(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordColumns& columns,
                   OnFailure onFailure, BulkOutcome& outcome)
    : db_(db), symbol_(symbol), columns_(columns), onFailure_(onFailure), outcome_(outcome) {}

bool RowCheck::run(RowList& list) {
  for (std::int64_t from = 0; from < columns_.rows && !isStopped_; from += kBlock) {
    const int count = static_cast<int>(std::min<std::int64_t>(kBlock, columns_.rows - from));
    if (checkBlock(from, count) && !columns_.texts) {
      if (list_.rows != nullptr) {
        std::iota(list_.rows.get() + list_.count, list_.rows.get() + list_.count + count,
                  static_cast<std::int32_t>(from));
      }
      list_.count += count;
    } else if (!checkEach(from, count)) {
      return false;
    }
  }
  list = std::move(list_);
  return true;
}

/// Position by position, in loops without branches: whether all labels exist, and whether each key
/// is greater than the one before.
bool RowCheck::checkBlock(std::int64_t from, int count) {
  int labels[kBlock + 1];  // the first is that of the row before
  int order[kBlock] = {};
  const auto highest = static_cast<unsigned>(db_.highestLabel());
  int unknown = 0;
  for (int position = symbol_.dim - 1; position >= 0; --position) {
    const InColumn& column = columns_.keys[static_cast<std::size_t>(position)];
    labels[0] = from == 0 ? 0 : load<int>(column.at(from - 1));
    const std::byte* place = column.at(from);
    if (column.stride == sizeof(int)) {
      std::memcpy(labels + 1, place, static_cast<std::size_t>(count) * sizeof(int));
    } else {
      for (int i = 0; i < count; ++i) labels[i + 1] = load<int>(place + i * column.stride);
    }
    for (int i = 0; i < count; ++i) {
      unknown |= static_cast<int>(static_cast<unsigned>(labels[i + 1]) - 1 >= highest);
      const int step =
          static_cast<int>(labels[i] < labels[i + 1]) - static_cast<int>(labels[i] > labels[i + 1]);
      order[i] = step != 0 ? step : order[i];
    }
  }
  if (isAscending_ && symbol_.dim > 0) {
    isAscending_ = std::all_of(order, order + count, [](int step) { return step > 0; });
  }
  return unknown == 0;
}

/// Row by row, where something may be wrong.
bool RowCheck::checkEach(std::int64_t from, int count) {
  for (std::int64_t row = from; row < from + count; ++row) {
    BulkOutcome why;
    if (canTake(row, why)) {
      if (list_.rows != nullptr)
        list_.rows[static_cast<std::size_t>(list_.count)] = static_cast<std::int32_t>(row);
      ++list_.count;
      continue;
    }
    if (outcome_.row < 0) {
      outcome_.note(why.kind, row, why.position);
      std::copy_n(why.text, sizeof why.text, outcome_.text);
    }
    if (onFailure_ == FailureUndo) return false;
    if (onFailure_ == FailureKeep) {
      isStopped_ = true;
      return true;
    }
    ++outcome_.skipped;
    isAscending_ = false;  // of the rows that are left, nobody knows
    if (list_.rows != nullptr) continue;
    list_.rows =
        std::make_unique_for_overwrite<std::int32_t[]>(static_cast<std::size_t>(columns_.rows));
    std::iota(list_.rows.get(), list_.rows.get() + list_.count, 0);
  }
  return true;
}

bool RowCheck::canTake(std::int64_t row, BulkOutcome& why) const {
  for (int position = 0; position < symbol_.dim; ++position) {
    const int label = load<int>(columns_.keys[static_cast<std::size_t>(position)].at(row));
    if (db_.isLabel(label)) continue;
    why.note(ErrorNotFound, row, position);
    writeMessage(why.text, "Label number %d in position %d of a record for symbol %s is unknown",
                 label, position + 1, symbol_.name.c_str());
    return false;
  }
  return !columns_.texts || textFits(row, why);
}

bool RowCheck::textFits(std::int64_t row, BulkOutcome& why) const {
  const TextColumn& texts = columns_.texts;
  if (texts.pointers != nullptr && texts.pointers[row] == nullptr) return true;
  const std::string_view text = texts.at(row);
  const char* name = symbol_.name.c_str();
  if (text.data() == nullptr) {
    why.note(ErrorArgument, row, -1);
    writeMessage(why.text, "The offsets of an element text for symbol %s do not ascend", name);
  } else if (text.size() > std::size_t{kMaxTextLength}) {
    why.note(ErrorLabel, row, -1);
    writeMessage(why.text, "An element text for symbol %s has %zu bytes, and %d are the most", name,
                 text.size(), kMaxTextLength);
  } else if (text.find('\0') != text.npos) {
    why.note(ErrorLabel, row, -1);
    writeMessage(why.text, "An element text for symbol %s has a zero byte", name);
  } else {
    return true;
  }
  return false;
}

}  // namespace zdb
