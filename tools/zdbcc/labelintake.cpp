#include "labelintake.h"
#include "contract/utf8.h"

#include <algorithm>
#include <cstring>

#include "contract/names.h"

namespace zdb::tool {

namespace {

std::string placeOf(const std::string& file, std::uint64_t line) {
  return file + ':' + std::to_string(line);
}

}  // namespace

LabelIntake::LabelIntake(const zdbcc::Database& db) : db_(db), memories_(kMemories) {}

const char* LabelIntake::fault(std::string_view text) {
  using namespace zdb::contract;
  const std::string_view label = withoutEndingBlanks(text);
  if (label.empty()) return "a label is blank";
  if (isLabel(label)) return nullptr;
  if (label.size() > std::size_t{kMaxNameLength}) return "a label has more than 63 bytes";
  if (std::any_of(label.begin(), label.end(), isControl)) {
    return "a label has a control character";
  }
  return "a label has both kinds of quotes";
}

void LabelIntake::add(std::string_view text, std::size_t index, std::uint64_t line) {
  if (offsets_.empty()) offsets_.push_back(0);
  waiting_.push_back({index, line});
  bytes_ += text;
  offsets_.push_back(static_cast<std::int64_t>(bytes_.size()));
}

void LabelIntake::flush(std::int32_t* keys, const std::string& file, SymbolReport& report) {
  if (waiting_.empty()) return;
  numbers_.resize(waiting_.size());
  zdbx_texts texts = {};
  texts.size = sizeof texts;
  texts.bytes = bytes_.data();
  texts.offsets64 = offsets_.data();
  db_.check(zdbx_add_labels(db_.handle(), &texts, static_cast<std::int64_t>(waiting_.size()),
                            numbers_.data(), ZDBX_UNDO, nullptr));
  for (std::size_t i = 0; i < waiting_.size(); ++i) {
    keys[waiting_[i].index] = numbers_[i];
    const auto from = static_cast<std::size_t>(offsets_[i]);
    const std::string_view given(bytes_.data() + from,
                                 static_cast<std::size_t>(offsets_[i + 1]) - from);
    settle(given, numbers_[i], file, waiting_[i].line, report);
  }
  waiting_.clear();
  bytes_.clear();
  offsets_.clear();
}

/// Remembers a label, or reports what is odd about it.
void LabelIntake::settle(std::string_view given, std::int32_t number, const std::string& file,
                         std::uint64_t line, SymbolReport& report) {
  char bytes[ZDB_MAX_NAME];
  std::int64_t size = 0;
  db_.check(zdbx_get_labels(db_.handle(), number, 1, bytes, sizeof bytes, nullptr, &size));
  const std::string_view kept(bytes, static_cast<std::size_t>(size));
  const std::string_view label = zdb::contract::withoutEndingBlanks(given);
  const auto example = [&] { return '"' + std::string(given) + "\" at " + placeOf(file, line); };
  bool isPlain = given.size() == label.size();
  if (!isPlain) report.trimmed.add(example());
  if (label != kept) {
    report.labels.add(label, kept, placeOf(file, line));
    isPlain = false;
  }
  if (!zdb::contract::isUtf8(label)) {
    report.notUtf8.add(example());
    isPlain = false;
  }
  if (!isPlain) return;
  Memory& memory = memories_[slotOf(label)];
  memory.number = number;
  memory.text.size = static_cast<unsigned char>(label.size());
  std::memcpy(memory.text.bytes, label.data(), label.size());
}

std::int32_t LabelIntake::one(const std::string& text, const std::string& place,
                              SymbolReport& report) {
  if (const char* problem = fault(text)) throw ToolError(place + ": " + problem);
  const std::int32_t number = db_.addLabel(text);
  const std::string kept = db_.label(number);
  const std::string label(zdb::contract::withoutEndingBlanks(text));
  if (label != text) report.trimmed.add('"' + text + "\" at " + place);
  if (label != kept) report.labels.add(label, kept, place);
  if (!zdb::contract::isUtf8(label)) report.notUtf8.add('"' + text + "\" at " + place);
  return number;
}

}  // namespace zdb::tool
