#include "entry.h"

#include <algorithm>

#include "console.h"

namespace zdbtool {

namespace {

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// Reads the labels in the text between the brackets.
class LabelReader {
 public:
  explicit LabelReader(const std::string& list) : list_(list) {}

  std::vector<std::string> all() {
    std::vector<std::string> labels;
    for (bool more = true; more;) {
      labels.push_back(next());
      more = at_ < list_.size() && list_[at_++] == ',';
    }
    if (at_ != list_.size()) labels.emplace_back();  // something after a quoted label
    return labels;
  }

 private:
  std::string next() {
    at_ = std::min(list_.find_first_not_of(' ', at_), list_.size());
    if (at_ < list_.size() && (list_[at_] == '\'' || list_[at_] == '"')) return quoted(list_[at_]);
    const auto end = std::min(list_.find(',', at_), list_.size());
    std::string label = trimmed(list_.substr(at_, end - at_));
    at_ = end;
    return label;
  }

  // A quote inside the label is doubled.
  std::string quoted(char quote) {
    std::string label;
    for (++at_; at_ < list_.size(); ++at_) {
      if (list_[at_] == quote && (at_ + 1 == list_.size() || list_[at_ + 1] != quote)) break;
      if (list_[at_] == quote) ++at_;
      label += list_[at_];
    }
    at_ = std::min(list_.find_first_not_of(' ', at_ + 1), list_.size());
    return label;
  }

  const std::string& list_;
  std::size_t at_ = 0;
};

}  // namespace

Entry parseEntry(const std::string& text) {
  const std::string whole = trimmed(text);
  const auto open = whole.find_first_of("[(");
  Entry entry{trimmed(whole.substr(0, open)), {}};
  bool isGood = !entry.symbol.empty();
  if (open != std::string::npos) {
    const char close = whole[open] == '[' ? ']' : ')';
    isGood = isGood && whole.back() == close;
    const std::string list = whole.substr(open + 1, whole.size() - open - 2);
    if (isGood) entry.labels = LabelReader(list).all();
  }
  for (const std::string& label : entry.labels) isGood = isGood && !label.empty();
  if (isGood) return entry;
  throw ToolError('"' + printable(text) + "\" is not an entry: write symbol[label,label]");
}

}  // namespace zdbtool
