// Adding and finding many labels.
#include <algorithm>

#include "core/addedentries.h"
#include "symbols/bulk.h"

namespace zdb {

namespace {

using uellist::UELList;

/// The next group of texts.
int takeGroup(const TextColumn& texts, std::int64_t from, std::int64_t total,
              std::string_view* group) {
  const int count = static_cast<int>(std::min<std::int64_t>(UELList::kGroup, total - from));
  for (int i = 0; i < count; ++i) group[i] = texts.at(from + i);
  return count;
}

void describe(uellist::LabelCheck check, std::string_view text, BulkOutcome& outcome) {
  const int shown = static_cast<int>(std::min<std::size_t>(text.size(), kMaxTextLength));
  switch (check) {
    case uellist::LabelMixedQuotes:
      return writeMessage(outcome.text, "Label with single and double quote not allowed >%.*s<",
                          shown, text.data());
    case uellist::LabelTooLong:
      return writeMessage(outcome.text, "Label exceeds maximum size of %d: >%.*s<", kMaxNameLength,
                          shown, text.data());
    case uellist::LabelControlCharacter:
      return writeMessage(outcome.text, "Label with control character not allowed");
    default:
      return writeMessage(outcome.text, "A label is null, or its offsets do not ascend");
  }
}

}  // namespace

bool addLabels(ZDB& db, const TextColumn& texts, std::int64_t count, int* numbers,
               OnFailure onFailure, BulkOutcome& outcome) {
  UELList& labels = db.labels();
  AddedEntries added(labels);
  std::string_view group[UELList::kGroup];
  std::int64_t at = 0;
  while (at < count) {
    const int size = takeGroup(texts, at, count, group);
    uellist::LabelCheck check;
    const int good = labels.mergeMany(group, size, numbers + at, check);
    at += good;
    if (good == size) continue;
    if (outcome.row < 0) {
      outcome.note(ErrorLabel, at, -1);
      describe(check, group[good], outcome);
    }
    if (onFailure != FailureSkip) break;
    numbers[at++] = -1;
    ++outcome.skipped;
  }
  const bool isDone = at == count;
  if (isDone || onFailure != FailureUndo) {
    outcome.added = added.count();
    added.keep();
  }
  if (isDone || onFailure == FailureKeep) outcome.done = at - outcome.skipped;
  return isDone || db.setLastError(outcome.kind, "%s", outcome.text);
}

void findLabels(ZDB& db, const TextColumn& texts, std::int64_t count, int* numbers,
                BulkOutcome& outcome) {
  std::string_view group[UELList::kGroup];
  for (std::int64_t at = 0; at < count;) {
    const int size = takeGroup(texts, at, count, group);
    db.labels().findMany(group, size, numbers + at);
    for (int i = 0; i < size; ++i) {
      outcome.done += numbers[at + i] >= 0 ? 1 : 0;
      if (numbers[at + i] < 0 && outcome.row < 0) outcome.row = at + i;
    }
    at += size;
  }
  outcome.skipped = count - outcome.done;
}

}  // namespace zdb
