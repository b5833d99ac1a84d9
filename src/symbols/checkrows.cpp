#include "symbols/checkrows.h"

#include <algorithm>
#include <numeric>

namespace zdb {

RowCheck::RowCheck(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordColumns& columns,
                   OnFailure onFailure, BulkOutcome& outcome)
    : db_(db), symbol_(symbol), columns_(columns), onFailure_(onFailure), outcome_(outcome) {}

RowList RowCheck::run() {
  for (std::int64_t from = 0; from < columns_.rows && !isStopped_; from += kBlock) {
    const int count = static_cast<int>(std::min<std::int64_t>(kBlock, columns_.rows - from));
    if (checkBlock(from, count) && !columns_.texts) {
      if (list_.rows != nullptr) {
        std::iota(list_.rows.get() + list_.count, list_.rows.get() + list_.count + count,
                  static_cast<std::int32_t>(from));
      }
      list_.count += count;
    } else {
      checkEach(from, count);
    }
  }
  return std::move(list_);
}

/// Position by position, in loops without branches: whether all labels exist, and whether each key
/// is greater than the one before.
bool RowCheck::checkBlock(std::int64_t from, int count) {
  int copies[kBlock + 1];
  int isLess[kBlock] = {};
  const int highest = db_.highestLabel();
  int unknown = 0;
  for (int position = symbol_.dim - 1; position >= 0; --position) {
    const int* labels = labelsOf(position, from, count, copies);
    for (int i = 0; i < count; ++i) {
      const int before = labels[i];
      const int label = labels[i + 1];
      unknown |= static_cast<int>(label < 1) | static_cast<int>(label > highest);
      isLess[i] =
          static_cast<int>(before < label) | (static_cast<int>(before == label) & isLess[i]);
    }
  }
  if (isAscending_ && symbol_.dim > 0) {
    if (from == 0) isLess[0] = 1;
    isAscending_ = std::all_of(isLess, isLess + count, [](int less) { return less != 0; });
  }
  return unknown == 0;
}

/// The labels of a block at one position, and before them that of the row before, in place
/// or as copies.
const int* RowCheck::labelsOf(int position, std::int64_t from, int count, int* copies) const {
  const InColumn& column = columns_.keys[static_cast<std::size_t>(position)];
  const bool isAligned = reinterpret_cast<std::uintptr_t>(column.data) % alignof(int) == 0;
  if (from > 0 && column.stride == sizeof(int) && isAligned) {
    return reinterpret_cast<const int*>(column.at(from - 1));
  }
  copies[0] = from == 0 ? 0 : load<int>(column.at(from - 1));
  for (int i = 0; i < count; ++i) copies[i + 1] = load<int>(column.at(from + i));
  return copies;
}

/// Row by row, where something may be wrong.
void RowCheck::checkEach(std::int64_t from, int count) {
  for (std::int64_t row = from; row < from + count && !isStopped_; ++row) {
    BulkOutcome why;
    if (!canTake(row, why)) {
      refuse(row, why);
      continue;
    }
    if (list_.rows != nullptr) {
      list_.rows[static_cast<std::size_t>(list_.count)] = static_cast<std::int32_t>(row);
    }
    ++list_.count;
  }
}

void RowCheck::refuse(std::int64_t row, const BulkOutcome& why) {
  if (outcome_.row < 0) {
    outcome_.note(why.kind, row, why.position);
    std::copy_n(why.text, sizeof why.text, outcome_.text);
  }
  isStopped_ = onFailure_ != FailureSkip;
  if (isStopped_) return;
  ++outcome_.skipped;
  isAscending_ = false;  // of the rows that are left, nobody knows
  if (list_.rows != nullptr) return;
  const auto rows = static_cast<std::size_t>(columns_.rows);
  list_.rows = std::make_unique_for_overwrite<std::int32_t[]>(rows);
  std::iota(list_.rows.get(), list_.rows.get() + list_.count, 0);
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
    why.note(ErrorArgument, row, symbol_.dim);
    writeMessage(why.text, "The offsets of an element text for symbol %s do not ascend", name);
  } else if (text.size() > std::size_t{kMaxTextLength}) {
    why.note(ErrorLabel, row, symbol_.dim);
    writeMessage(why.text, "An element text for symbol %s has %zu bytes, and %d are the most", name,
                 text.size(), kMaxTextLength);
  } else if (text.find('\0') != text.npos) {
    why.note(ErrorLabel, row, symbol_.dim);
    writeMessage(why.text, "An element text for symbol %s has a zero byte", name);
  } else {
    return true;
  }
  return false;
}

}  // namespace zdb
