// Entries of symbols as people and model files write them: price[bread], price(bread),
// cost['New York',summer], or limit for a symbol without labels.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "contract/names.h"

namespace zdb::contract {

/// An entry taken apart. The caller checks whether these can be names of symbols and labels.
struct EntryName {
  std::string_view symbol;          ///< what stands before the bracket, as written
  std::vector<std::string> labels;  ///< without blanks at their ends
  std::string fault;  ///< empty, or why the text has another form; labels are those before it
};

/// What labels may hold that stand without quotes; a comma ends them in any case.
enum class PlainLabels { Anything, NoBracketsAndQuotes };

/// Takes a text apart. The labels stand in brackets or parentheses at its end, separated by commas,
/// and may be put in quotes of either kind, in which a doubled quote stands for one.
class EntryNameReader {
 public:
  EntryNameReader(std::string_view text, PlainLabels plain) : text_(text), plain_(plain) {}

  EntryName read() {
    const std::size_t open = std::min(text_.find_first_of("[("), text_.size());
    entry_.symbol = text_.substr(0, open);
    if (open < text_.size()) readIndex(open);
    return std::move(entry_);
  }

 private:
  bool fail(std::string why) {
    entry_.fault = std::move(why);
    return false;
  }

  void readIndex(std::size_t open) {
    const char close = text_[open] == '[' ? ']' : ')';
    if (text_.back() != close) {
      fail(std::string("it should end in \"") + close + "\"");
      return;
    }
    rest_ = text_.substr(open + 1, text_.size() - open - 2);
    while (readLabel() && readComma()) {
    }
  }

  bool readComma() {
    if (rest_.empty()) return false;
    if (rest_.front() != ',') return fail("a comma is missing after a label in quotes");
    rest_.remove_prefix(1);
    return true;
  }

  bool readLabel() {
    rest_ = withoutLeadingBlanks(rest_);
    const bool isQuoted = !rest_.empty() && (rest_.front() == '\'' || rest_.front() == '"');
    return isQuoted ? readQuoted() : readPlain();
  }

  bool readPlain() {
    const std::size_t end = std::min(rest_.find(','), rest_.size());
    const std::string label(withoutEndingBlanks(rest_.substr(0, end)));
    rest_.remove_prefix(end);
    if (plain_ == PlainLabels::NoBracketsAndQuotes &&
        label.find_first_of("[]()'\"") != std::string::npos) {
      return fail("put the label \"" + label + "\" in quotes");
    }
    entry_.labels.push_back(label);
    return true;
  }

  bool readQuoted() {
    const char quote = rest_.front();
    std::string label;
    for (rest_.remove_prefix(1);; rest_.remove_prefix(1)) {
      if (rest_.empty()) return fail("a quote is not closed");
      if (rest_.front() == quote) {
        rest_.remove_prefix(1);
        if (rest_.empty() || rest_.front() != quote) break;
      }
      label += rest_.front();
    }
    rest_ = withoutLeadingBlanks(rest_);
    entry_.labels.emplace_back(withoutEndingBlanks(label));
    return true;
  }

  std::string_view text_;
  std::string_view rest_;  // of the index
  PlainLabels plain_;
  EntryName entry_;
};

inline EntryName readEntryName(std::string_view text, PlainLabels plain) {
  return EntryNameReader(text, plain).read();
}

}  // namespace zdb::contract
