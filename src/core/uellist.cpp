#include "core/uellist.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "contract/names.h"

namespace zdb::uellist {

namespace {

constexpr int kMaxLabelLength = contract::kMaxNameLength;
constexpr const char* kMixedQuotes = "Label with single and double quote not allowed >%s<";
constexpr const char* kTooLong = "Label exceeds maximum size of %d: >%s<";

/// isspace of the C locale: labels are always read as in that locale.
constexpr bool isWhiteSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

enum CharacterClass : unsigned char { Plain = 0, Single = 1, Double = 2, Control = 4 };

constexpr std::array<unsigned char, 256> kClasses = [] {
  std::array<unsigned char, 256> classes{};
  for (int c = 0; c < 256; ++c) {
    if (contract::isControl(static_cast<char>(c))) classes[c] = Control;
  }
  classes['\''] = Single;
  classes['"'] = Double;
  return classes;
}();

bool reportCheck(LabelCheck check, LastError& error, const char* text) {
  if (check == LabelMixedQuotes) error.set(ErrorLabel, kMixedQuotes, text);
  if (check == LabelTooLong) error.set(ErrorLabel, kTooLong, kMaxLabelLength, text);
  return check == LabelGood;
}

}  // namespace

namespace {

template <class IsEnd>
LabelCheck checkLabel(const char* text, IsEnd isEnd, CheckedLabel& label) {
  using zxf::collections::strhash::hashStep;
  if (text == nullptr) return LabelNull;
  std::uint32_t hash = 0;
  std::uint32_t keptHash = 0;
  const char* kept = text;  // one past the last character that is not blank
  const char* at = text;
  for (unsigned seen = 0; !isEnd(at); ++at) {
    seen |= kClasses[static_cast<unsigned char>(*at)];
    if (seen > Double) return (seen & Control) != 0 ? LabelControlCharacter : LabelMixedQuotes;
    hash = hashStep(hash, *at);
    if (*at != ' ') {
      kept = at + 1;
      keptHash = hash;
    }
  }
  if (kept - text > kMaxLabelLength) return LabelTooLong;
  if (kept == text && at != text) {  // only blanks: one of them stays
    kept = text + 1;
    keptHash = hashStep(0, ' ');
  }
  label = {static_cast<int>(kept - text), keptHash};
  return LabelGood;
}

}  // namespace

LabelCheck CheckLabel(const char* text, CheckedLabel& label) {
  return checkLabel(
      text, [](const char* at) { return *at == '\0'; }, label);
}

LabelCheck CheckLabel(std::string_view text, CheckedLabel& label) {
  const char* end = text.data() + text.size();
  return checkLabel(
      text.data(), [end](const char* at) { return at == end; }, label);
}

LabelCheck CheckAndTrimUELStr(const char* text, char* out, int& length) {
  CheckedLabel label;
  const LabelCheck check = CheckLabel(text, label);
  if (check != LabelGood) return check;
  std::memcpy(out, text, static_cast<std::size_t>(label.length));
  out[label.length] = '\0';
  length = label.length;
  return check;
}

bool UELStrCheck(LastError& error, const char* text, char* out, int& length) {
  return reportCheck(CheckAndTrimUELStr(text, out, length), error, text);
}

UELList::UELList(LastError& error) : error_(error) {
  list_.AddObject(" ", 0);
}

UELList& UELList::operator=(const IUELList& other) {
  if (&other == this) return *this;
  for (int i = 0; i < other.size(); ++i) {
    int number;
    merge(other[i], number);
  }
  return *this;
}

bool UELList::find(const char* text, int& number) {
  CheckedLabel label;
  const LabelCheck check = CheckLabel(text, label);
  if (check != LabelGood) return reportCheck(check, error_, text);
  number = list_.IndexOf(text, static_cast<std::size_t>(label.length), label.hash);
  return true;
}

bool UELList::merge(const char* text, int& number) {
  CheckedLabel label;
  const LabelCheck check = CheckLabel(text, label);
  if (check != LabelGood) return reportCheck(check, error_, text);
  number = list_.AddObject(text, static_cast<std::size_t>(label.length), label.hash, 0);
  return true;
}

void UELList::findMany(const std::string_view* texts, int count, int* numbers) {
  CheckedLabel labels[kGroup];
  for (int i = 0; i < count; ++i) {
    const bool isGood = CheckLabel(texts[i], labels[i]) == LabelGood;
    if (!isGood) labels[i].length = -1;
    if (isGood) list_.prefetchHead(labels[i].hash);
  }
  for (int i = 0; i < count; ++i) {
    if (labels[i].length >= 0) list_.prefetchEntry(labels[i].hash);
  }
  for (int i = 0; i < count; ++i) {
    const CheckedLabel& label = labels[i];
    numbers[i] =
        label.length < 0
            ? -1
            : list_.IndexOf(texts[i].data(), static_cast<std::size_t>(label.length), label.hash);
  }
}

int UELList::mergeMany(const std::string_view* texts, int count, int* numbers, LabelCheck& check) {
  CheckedLabel labels[kGroup];
  int good = 0;
  check = LabelGood;
  for (; good < count; ++good) {
    check = CheckLabel(texts[good], labels[good]);
    if (check != LabelGood) break;
    list_.prefetchHead(labels[good].hash);
  }
  for (int i = 0; i < good; ++i) list_.prefetchEntry(labels[i].hash);
  for (int i = 0; i < good; ++i) {
    const auto length = static_cast<std::size_t>(labels[i].length);
    numbers[i] = list_.AddObject(texts[i].data(), length, labels[i].hash, 0);
  }
  return good;
}

bool UELList::areNumbers(const int* numbers, int count, const std::string& symbol) const {
  const int highest = size() - 1;
  for (int i = 0; i < count; ++i) {
    if (numbers[i] < 1) {
      return error_.set(
          ErrorNotFound,
          "Error when adding record to symbol %s: UEL needs to be greater than zero but is %d",
          symbol.c_str(), numbers[i]);
    }
    if (numbers[i] > highest) {
      return error_.set(
          ErrorNotFound,
          "Error when adding record to symbol %s: UEL %d is unknown. Largest known UEL is %d",
          symbol.c_str(), numbers[i], highest);
    }
  }
  return true;
}

bool UELList::findAll(const char* const* texts, int count, const std::string& symbol,
                      int* numbers) {
  for (int i = 0; i < count; ++i) {
    if (!find(texts[i], numbers[i])) return false;
    if (numbers[i] < 0) {
      return error_.set(ErrorNotFound, "Cannot find element %s (on position %d) in Symbol %s",
                        texts[i], i + 1, symbol.c_str());
    }
  }
  return true;
}

bool UnorderedMapUELList::makeKey(const char* text, std::string& key) const {
  if (std::strchr(text, '\'') != nullptr && std::strchr(text, '"') != nullptr) {
    return error_.set(ErrorLabel, kMixedQuotes, text);
  }
  std::size_t length = std::strlen(text);
  while (length > 1 && isWhiteSpace(text[length - 1])) --length;
  if (length > kMaxLabelLength) {
    return error_.set(ErrorLabel, kTooLong, kMaxLabelLength, text);
  }
  key = contract::upperCase({text, length});
  return true;
}

bool UnorderedMapUELList::find(const char* text, int& number) {
  std::string key;
  if (!makeKey(text, key)) return false;
  const auto place = numbers_.find(key);
  number = place == numbers_.end() ? -1 : place->second;
  return true;
}

bool UnorderedMapUELList::merge(const char* text, int& number) {
  std::string key;
  if (!makeKey(text, key)) return false;
  labels_.emplace_back(text);  // first, so that the map never holds a number without a label
  const auto [place, added] = numbers_.try_emplace(std::move(key), size() - 1);
  if (!added) labels_.pop_back();
  number = place->second;
  return true;
}

}  // namespace zdb::uellist
