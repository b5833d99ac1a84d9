#include "kit/modelfile/names.h"

#include <algorithm>
#include <string_view>

#include "kit/modelfile/errors.h"
#include "kit/names.h"

namespace zdb::kit::modelfile {

namespace {

constexpr std::string_view kReplaced = " .-+/:&$%#@!~|?;=<>*^`";

void skipBlanks(std::string_view& text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
}

class NameParser {
 public:
  explicit NameParser(const std::string& name) : name_(name) {}

  SymbolicName parse() {
    const std::size_t open = std::min(name_.find_first_of("[("), name_.size());
    takeSymbol(std::string_view(name_).substr(0, open));
    if (open < name_.size()) takeIndex(open);
    return std::move(result_);
  }

 private:
  [[noreturn]] void fail(const std::string& why) const {
    throw Complaint("name \"" + name_ + "\" cannot become a symbol with labels: " + why);
  }

  void takeSymbol(std::string_view written) {
    result_.written = written;
    result_.symbol = written;
    for (char& c : result_.symbol) {
      if (kReplaced.find(c) != std::string_view::npos) c = '_';
    }
    if (kit::isSymbolName(result_.symbol)) return;
    fail("a symbol is a letter, then letters, digits and underscores, at most 63 characters");
  }

  void takeIndex(std::size_t open) {
    const char close = name_[open] == '[' ? ']' : ')';
    if (name_.back() != close) fail(std::string("it should end in \"") + close + "\"");
    rest_ = std::string_view(name_).substr(open + 1, name_.size() - open - 2);
    do {
      takeLabel();
    } while (takeComma());
  }

  bool takeComma() {
    if (rest_.empty()) return false;
    if (rest_.front() != ',') fail("a comma is missing after a label in quotes");
    rest_.remove_prefix(1);
    return true;
  }

  void takeLabel() {
    skipBlanks(rest_);
    const bool isQuoted = !rest_.empty() && (rest_.front() == '\'' || rest_.front() == '"');
    std::string label = isQuoted ? takeQuoted() : takePlain();
    if (!kit::isLabel(label)) {
      fail("the label \"" + label +
           "\" is empty, has more than 63 characters, a control character or both kinds of quotes");
    }
    result_.labels.push_back(std::move(label));
    if (result_.labels.size() > kit::kMaxDim) fail("more than 20 labels");
  }

  std::string takePlain() {
    const std::size_t end = std::min(rest_.find(','), rest_.size());
    const std::string_view label = kit::withoutEndingBlanks(rest_.substr(0, end));
    rest_.remove_prefix(end);
    if (label.find_first_of("[]()'\"") != std::string_view::npos) {
      fail("put the label \"" + std::string(label) + "\" in quotes");
    }
    return std::string(label);
  }

  std::string takeQuoted() {
    const char quote = rest_.front();
    std::string label;
    for (rest_.remove_prefix(1);; rest_.remove_prefix(1)) {
      if (rest_.empty()) fail("a quote is not closed");
      if (rest_.front() == quote) {
        rest_.remove_prefix(1);
        if (rest_.empty() || rest_.front() != quote) break;
      }
      label += rest_.front();
    }
    skipBlanks(rest_);
    return std::string(kit::withoutEndingBlanks(label));
  }

  const std::string& name_;
  std::string_view rest_;  // of the index
  SymbolicName result_;
};

}  // namespace

SymbolicName parseName(const std::string& name) {
  if (name.empty()) throw Complaint("a row or column without a name");
  return NameParser(name).parse();
}

}  // namespace zdb::kit::modelfile
