#include "kit/modelfile/mathprogtext.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "contract/names.h"

namespace zdb::kit::modelfile {

namespace {

constexpr std::array<std::string_view, 13> kPairs = {
    ":=", "..", "<=", ">=", "<>", "==", "!=", "&&", "||", "**", "->", "<-", ">>"};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

class Lexer {
 public:
  Lexer(std::string_view text, bool isData) : text_(text), isData_(isData) {}

  MathProgText split() {
    MathProgText all;
    MathProgStatement statement;
    for (Token token = next(); !token.text.empty(); token = next()) {
      if (token.is(";")) {
        if (endsAt(statement)) break;
        finish(all, statement, token.end());
      } else if (!statement.tokens.empty() || !token.is("}")) {
        statement.tokens.push_back(token);  // a block of statements may end before it
      }
    }
    all.end = endsAt(statement) ? statement.tokens.front().at : text_.size();
    all.endsInData = isData_;
    return all;
  }

 private:
  static bool endsAt(const MathProgStatement& statement) {
    return statement.tokens.size() == 1 && statement.tokens.front().is("end");
  }

  void finish(MathProgText& all, MathProgStatement& statement, std::size_t end) {
    const bool isSwitch = statement.tokens.size() == 1 && statement.tokens.front().is("data");
    statement.end = end;
    statement.isData = isData_;
    isData_ = isData_ || isSwitch;
    if (!isSwitch && !statement.tokens.empty()) all.statements.push_back(statement);
    statement.tokens.clear();
  }

  char at(std::size_t k) const { return k < text_.size() ? text_[k] : '\0'; }

  void skipBlanks() {
    for (;;) {
      while (position_ < text_.size() &&
             std::isspace(static_cast<unsigned char>(text_[position_])) != 0) {
        ++position_;
      }
      const std::string_view rest = text_.substr(position_);
      if (rest.starts_with('#')) {
        position_ = std::min(text_.find('\n', position_), text_.size());
      } else if (rest.starts_with("/*")) {
        const std::size_t end = text_.find("*/", position_ + 2);
        position_ = end == text_.npos ? text_.size() : end + 2;
      } else {
        return;
      }
    }
  }

  Token next() {
    skipBlanks();
    const std::size_t begin = position_;
    position_ = begin + length(begin);
    return {text_.substr(begin, position_ - begin), begin};
  }

  std::size_t length(std::size_t begin) const {
    const char first = at(begin);
    if (begin >= text_.size()) return 0;
    if (first == '\'' || first == '"') return quoted(begin);
    if (isData_ && isDataPart(first)) return run(begin, isDataPart);
    if (contract::isLetter(first) || first == '_') return run(begin, contract::isNamePart);
    if (isDigit(first) || (first == '.' && isDigit(at(begin + 1)))) return number(begin);
    const std::string_view pair = text_.substr(begin, 2);
    return std::find(kPairs.begin(), kPairs.end(), pair) != kPairs.end() ? 2 : 1;
  }

  // In data, symbols need no quotes.
  static bool isDataPart(char c) {
    return contract::isNamePart(c) || c == '+' || c == '-' || c == '.';
  }

  template <typename Test>
  std::size_t run(std::size_t begin, Test isPart) const {
    std::size_t end = begin;
    while (end < text_.size() && isPart(text_[end])) ++end;
    return end - begin;
  }

  // A doubled quote stands for one, which looks like two texts in a row; together they are one.
  std::size_t quoted(std::size_t begin) const {
    std::size_t end = begin;
    while (at(end) == at(begin) && end < text_.size()) {
      const std::size_t close = text_.find(text_[begin], end + 1);
      if (close == text_.npos) return text_.size() - begin;
      end = close + 1;
    }
    return end - begin;
  }

  // In 1..n, the number ends before the first point.
  std::size_t number(std::size_t begin) const {
    std::size_t end = begin + run(begin, isDigit);
    if (at(end) == '.' && at(end + 1) != '.') end += 1 + run(end + 1, isDigit);
    if (at(end) == 'e' || at(end) == 'E') {
      const std::size_t sign = at(end + 1) == '+' || at(end + 1) == '-' ? 1 : 0;
      if (isDigit(at(end + 1 + sign))) end += 1 + sign + run(end + 1 + sign, isDigit);
    }
    return end - begin;
  }

  std::string_view text_;
  bool isData_;
  std::size_t position_ = 0;
};

}  // namespace

bool Token::isName() const {
  return !text.empty() && (contract::isLetter(text.front()) || text.front() == '_') &&
         std::all_of(text.begin(), text.end(), contract::isNamePart);
}

MathProgText splitMathProg(std::string_view text, bool isData) {
  return Lexer(text, isData).split();
}

}  // namespace zdb::kit::modelfile
