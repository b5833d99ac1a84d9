#include "script/driver.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <regex>
#include <sstream>

namespace zdb::script {

namespace {

/// The characters of a quoted text: \x is x itself but for \t and \n, and c{n} stands for n of c.
std::string unquoted(const std::string& text) {
  std::string characters;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      const char c = text[++i];
      characters += c == 't' ? '\t' : c == 'n' ? '\n' : c;
    } else if (text[i] == '{' && !characters.empty()) {
      const std::size_t end = text.find('}', i);
      characters.append(std::stoul(text.substr(i + 1, end - i)) - 1, characters.back());
      i = end;
    } else {
      characters += text[i];
    }
  }
  return characters;
}

/// Cuts one statement into tokens.
class Reader {
 public:
  explicit Reader(const std::string& text) : text_(text), at_(text_.begin()) {}

  Statement statement() {
    Statement statement{};
    statement.arguments = tokensUpTo("=>");
    std::vector<Token>& tokens = statement.arguments;
    statement.object = "a";
    if (!tokens.empty() && tokens[0].kind == Token::Object) {
      statement.object = tokens[0].text;
      tokens.erase(tokens.begin());
    }
    if (tokens.empty() || tokens[0].kind != Token::Word) throw ScriptError("no function is named");
    statement.name = tokens[0].text;
    tokens.erase(tokens.begin());
    statement.source = trimmed({text_.cbegin(), at_ - 2});
    statement.expected = trimmed({at_, text_.cend()});
    if (statement.expected.empty()) throw ScriptError("nothing is expected");
    return statement;
  }

 private:
  static std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
  }

  std::vector<Token> tokensUpTo(const std::string& end) {
    // Quotes with what is between, a mark with a name, a word; then perhaps a repetition.
    static const std::regex pattern(
        R"re( *(?:"((?:[^"\\]|\\.)*)"|([$@&%])(\w+)|(_|\(|\)|=>)|([\w.+-]+))(?:\*(\d+))?)re");
    std::vector<Token> tokens;
    for (std::smatch match;;) {
      if (!std::regex_search(at_, text_.cend(), match, pattern,
                             std::regex_constants::match_continuous)) {
        throw ScriptError("cannot be read from here: " + std::string(at_, text_.cend()));
      }
      at_ = match[0].second;
      if (match[4] == end) return tokens;
      const std::string times = match[6];
      Token token = tokenOf(match);
      if (token.kind == Token::List) token.items = tokensUpTo(")");
      if (times.empty()) {
        tokens.push_back(std::move(token));
      } else if (const std::vector<Token> copies(std::stoul(times), token); end == ")") {
        tokens.insert(tokens.end(), copies.begin(), copies.end());
      } else {
        tokens.push_back({Token::List, "", copies});
      }
    }
  }

  static Token tokenOf(const std::smatch& match) {
    static const std::map<std::string, Token::Kind> marks = {
        {"$", Token::Variable}, {"@", Token::Object}, {"&", Token::Callback},
        {"%", Token::Setting},  {"_", Token::Blank},  {"(", Token::List}};
    if (match[1].matched) return {Token::Text, unquoted(match[1]), {}};
    const auto known = marks.find(match[match[2].matched ? 2 : 4]);
    if (known != marks.end()) return {known->second, match[3], {}};
    if (match[4].matched) throw ScriptError("misplaced " + match[4].str());
    return {match[5] == "null" ? Token::Null : Token::Word, match[5], {}};
  }

  const std::string text_;
  std::string::const_iterator at_;
};

/// The statements that a line stands for: {a|b} is a in the first and b in the second of two.
std::vector<std::string> expanded(const std::string& text) {
  static const std::regex braces(R"re(\{([^{}]*\|[^{}]*)\})re");
  std::vector<std::string> all;
  std::size_t at = 0;
  for (std::sregex_iterator it(text.begin(), text.end(), braces), end; it != end; ++it) {
    std::istringstream alternatives((*it)[1].str() + '|');
    const std::string before = text.substr(at, static_cast<std::size_t>(it->position()) - at);
    std::size_t count = 0;
    for (std::string one; std::getline(alternatives, one, '|'); ++count) {
      if (at == 0) all.emplace_back();
      if (count < all.size()) all[count] += before + one;
    }
    if (count != all.size()) throw ScriptError("not as many alternatives everywhere");
    at = static_cast<std::size_t>(it->position() + it->length());
  }
  if (at == 0) return {text};
  for (std::string& one : all) one += text.substr(at);
  return all;
}

}  // namespace

Script readScript(const std::string& path) {
  Script script;
  script.path = path;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) script.lines.push_back(line);
  const auto continues = [](const std::string& line) { return !line.empty() && line[0] == ' '; };
  const std::vector<std::string>& lines = script.lines;
  for (std::size_t i = 0; i < lines.size();) {
    const std::size_t first = i;
    std::string text = lines[i++];
    while (i < lines.size() && continues(lines[i])) {
      text += lines[i].substr(std::min(lines[i].find_first_not_of(' '), lines[i].size()) - 1);
      ++i;
    }
    if (text.empty() || text[0] == '#') continue;
    try {
      for (const std::string& one : expanded(text)) {
        script.statements.push_back(Reader(one).statement());
        script.statements.back().line = static_cast<int>(first) + 1;
        script.statements.back().lastLine = static_cast<int>(i);
      }
    } catch (const std::exception& error) {
      throw ScriptError(path + ":" + std::to_string(first + 1) + ": " + error.what());
    }
  }
  if (script.statements.empty()) throw ScriptError(path + ": has no statements");
  return script;
}

std::string shown(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t end = std::min(text.find_first_not_of(text[i], i), text.size());
    const std::size_t count = end - i >= 16 ? end - i : 1;
    const auto byte = static_cast<unsigned char>(text[i]);
    char escape[8];
    std::snprintf(escape, sizeof escape, byte >= 32 && byte != 127 ? "%c" : "\\x%02x", byte);
    result += byte == '\n' ? "\\n" : byte == '\t' ? "\\t" : escape;
    if (count > 1) result += "{" + std::to_string(count) + "}";
    i += count;
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
