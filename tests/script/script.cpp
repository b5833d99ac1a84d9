#include "script/script.h"

#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string_view>

namespace zdb::script {

namespace {

/// Cuts one statement into tokens.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  Statement statement() {
    Statement statement;
    statement.object = text_[0] == '@' ? token().text : "a";
    statement.name = name();
    while (!skipped("=>")) statement.arguments.push_back(repeatable());
    statement.source = trimmed(text_.substr(0, at_ - 2));
    statement.expected = trimmed(text_.substr(at_));
    if (statement.expected.empty()) throw ScriptError("nothing is expected");
    return statement;
  }

 private:
  static std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == text.npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
  }
  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool skipped(std::string_view mark) {
    while (peek() == ' ') ++at_;
    if (text_.substr(at_, mark.size()) != mark) return false;
    at_ += mark.size();
    return true;
  }
  template <typename Predicate>
  std::string takeWhile(Predicate belongs, const char* what) {
    const std::size_t start = at_;
    while (at_ < text_.size() && belongs(text_[at_])) ++at_;
    if (at_ == start) throw ScriptError(std::string("here should be ") + what + ": " + rest(start));
    return std::string(text_.substr(start, at_ - start));
  }
  std::string rest(std::size_t start) const { return std::string(text_.substr(start)); }
  std::string name() {
    skipped("");
    return takeWhile([](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; }, "a name");
  }
  int number() {
    const std::string digits =
        takeWhile([](unsigned char c) { return std::isdigit(c) != 0; }, "a number");
    return digits.size() < 7 ? std::stoi(digits) : throw ScriptError("too many: " + digits);
  }

  /// A token, or a list of n equal ones when *n follows.
  Token repeatable() {
    Token one = token();
    if (peek() != '*') return one;
    ++at_;
    return {Token::List, "", std::vector<Token>(static_cast<std::size_t>(number()), one)};
  }

  Token token() {
    skipped("");
    const std::size_t start = at_++;
    switch (start < text_.size() ? text_[start] : '\0') {
      case '$':
        return {Token::Variable, name(), {}};
      case '@':
        return {Token::Object, name(), {}};
      case '&':
        return {Token::Callback, name(), {}};
      case '%':
        return {Token::Setting, name(), {}};
      case '_':
        return {Token::Blank, "", {}};
      case '"':
        return {Token::Text, quoted(), {}};
      case '(':
        return list();
      default:
        at_ = start;
    }
    std::string word = takeWhile(
        [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '.' || c == '+'; },
        "an argument or =>");
    if (word == "null") return {Token::Null, "", {}};
    return {Token::Word, std::move(word), {}};
  }

  Token list() {
    Token list{Token::List, "", {}};
    while (!skipped(")")) {
      const Token item = repeatable();
      if (item.kind == Token::List) {
        list.items.insert(list.items.end(), item.items.begin(), item.items.end());
      } else {
        list.items.push_back(item);
      }
    }
    return list;
  }

  /// The characters up to the closing quote. \x takes a character as it is, \t and \n are control
  /// characters, and c{n} stands for n of them.
  std::string quoted() {
    std::string characters;
    while (peek() != '"') {
      if (at_ >= text_.size()) throw ScriptError("a text without an end");
      char c = text_[at_++];
      if (c == '{' && !characters.empty()) {
        characters.append(static_cast<std::size_t>(number()) - 1, characters.back());
        if (!skipped("}")) throw ScriptError("a repetition without an end");
        continue;
      }
      if (c == '\\') {
        c = peek();
        ++at_;
        c = c == 't' ? '\t' : c == 'n' ? '\n' : c;
      }
      characters += c;
    }
    ++at_;
    return characters;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

bool isContinuation(const std::string& line) {
  return !line.empty() && line[0] == ' ' && line.find_first_not_of(' ') != line.npos;
}

}  // namespace

Script readScript(const std::string& path) {
  Script script;
  script.path = path;
  std::ifstream file(path);
  if (!file) throw ScriptError(path + ": cannot be read");
  for (std::string line; std::getline(file, line);) script.lines.push_back(line);
  const int count = static_cast<int>(script.lines.size());
  for (int i = 0; i < count;) {
    const int first = i;
    std::string text = script.lines[static_cast<std::size_t>(i++)];
    if (text.empty() || text[0] == '#') continue;
    for (; i < count && isContinuation(script.lines[static_cast<std::size_t>(i)]); ++i) {
      const std::string& more = script.lines[static_cast<std::size_t>(i)];
      text += more.substr(more.find_first_not_of(' ') - 1);
    }
    try {
      if (text[0] == ' ') throw ScriptError("a continuation of nothing");
      script.statements.push_back(Reader(text).statement());
    } catch (const ScriptError& error) {
      throw ScriptError(path + ":" + std::to_string(first + 1) + ": " + error.what());
    }
    script.statements.back().line = first + 1;
    script.statements.back().lastLine = i;
  }
  if (script.statements.empty()) throw ScriptError(path + ": has no statements");
  return script;
}

std::string shown(const std::string& text) {
  std::string result;
  for (std::size_t i = 0, next; i < text.size(); i = next) {
    next = text.find_first_not_of(text[i], i);
    if (next == text.npos) next = text.size();
    const bool isRun = next - i >= 16;
    if (!isRun) next = i + 1;
    const auto byte = static_cast<unsigned char>(text[i]);
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\x%02x", byte);
    result += text[i] == '\n'           ? "\\n"
              : text[i] == '\t'         ? "\\t"
              : std::isprint(byte) != 0 ? std::string(1, text[i])
                                        : escape;
    if (isRun) result += "{" + std::to_string(next - i) + "}";
  }
  return result;
}

std::string shown(double value) {
  if (value == std::numeric_limits<double>::denorm_min()) return "eps";
  const auto bits = std::bit_cast<std::uint64_t>(value);
  char text[40];
  if (std::isnan(value) && bits != 0x7FF8000000000000U) {
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(bits));
    return text;
  }
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

}  // namespace zdb::script
