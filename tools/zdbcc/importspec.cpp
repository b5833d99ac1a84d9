#include "importspec.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <sstream>

#include "bytesource.h"
#include "console.h"
#include "contract/names.h"
#include "values.h"

namespace zdb::tool {

namespace {

/// What is wrong with a spec.
class SpecError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

constexpr std::string_view kFields[] = {"level", "marginal", "lower", "upper", "scale"};

std::optional<int> typeNamed(std::string_view word) {
  for (const int type : {ZDB_SET, ZDB_PARAMETER, ZDB_VARIABLE, ZDB_EQUATION, ZDB_ALIAS}) {
    if (word == typeName(type)) return type;
  }
  return std::nullopt;
}

std::optional<std::size_t> fieldNamed(std::string_view word) {
  const auto* found = std::find(std::begin(kFields), std::end(kFields), word);
  if (found == std::end(kFields)) return std::nullopt;
  return static_cast<std::size_t>(found - std::begin(kFields));
}

template <typename Number>
bool isNumber(std::string_view text, Number& number) {
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && at == end;
}

/// A word with the quotes around it, if it has some.
struct Word {
  std::string text;
  char quote = 0;
};

class SpecParser {
 public:
  explicit SpecParser(const std::string& text) : text_(text) {}

  ImportSpec parse() {
    if (hasHead()) {
      parseHead();
    } else {
      spec_.name.clear();
    }
    spec_.file = word(spec_.isAlias() ? "" : ":").text;
    if (spec_.file.empty()) throw SpecError("the file is missing");
    if (spec_.name.empty()) nameFromFile();
    if (took(":")) parseKeys();
    if (took("->")) parseValues();
    skipBlanks();
    if (at_ < text_.size()) throw SpecError("not understood: " + text_.substr(at_));
    check();
    return std::move(spec_);
  }

 private:
  bool hasHead() const {
    char quote = 0;
    for (std::size_t i = 0; i < text_.size(); ++i) {
      const char c = text_[i];
      if (quote != 0) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == ':' || text_.compare(i, 2, "->") == 0) {
        return false;
      } else if (c == '=') {
        return true;
      }
    }
    return false;
  }

  void parseHead() {
    Word name = word(" =(\"");
    const std::optional<int> type = typeNamed(name.text);
    skipBlanks();
    if (type && !isAt("=") && !isAt("\"")) {
      spec_.type = type;
      if (took("(")) parseUserInfo();
      name = word(" =\"");
    }
    spec_.name = name.text;
    skipBlanks();
    if (isAt("\"")) spec_.text = word("").text;
    if (!took("=")) throw SpecError("= is missing after the name " + spec_.name);
  }

  void parseUserInfo() {
    const std::string number = word(")").text;
    if (!isNumber(number, spec_.userInfo) || !took(")")) {
      throw SpecError("after the type, a number in parentheses is possible, not " + number);
    }
  }

  void nameFromFile() {
    std::filesystem::path file(spec_.file);
    if (file.extension() == ".gz") file = file.stem();
    spec_.name = file.stem().string();
    std::replace(spec_.name.begin(), spec_.name.end(), '-', '_');
  }

  void parseKeys() {
    spec_.hasColumns = true;
    if (isAtEndOfKeys()) return;
    do {
      KeyColumn key;
      key.column = column(",()");
      if (took("(")) key.domain = domain();
      spec_.keys.push_back(std::move(key));
    } while (took(","));
  }
  bool isAtEndOfKeys() {
    skipBlanks();
    return at_ == text_.size() || isAt("->");
  }

  void parseValues() {
    spec_.hasValues = true;
    do {
      ValueColumns columns;
      if (took("*")) {
        columns.form = ValueColumns::Form::Others;
      } else {
        parseValueColumns(columns);
      }
      spec_.values.push_back(std::move(columns));
    } while (took(","));
    if (took("(")) spec_.lastDomain = domain();
  }

  void parseValueColumns(ValueColumns& columns) {
    columns.first = column(",=().");
    if (spec_.hasFields()) {
      columns.field = fieldNamed(columns.first.heading);
      if (!columns.field) {
        throw SpecError(columns.first.heading +
                        " is not one of level, marginal, lower, upper and scale: write "
                        "level=COLUMN");
      }
      if (took("=")) columns.first = column(",()");
    } else if (took("..")) {
      columns.form = ValueColumns::Form::Range;
      columns.last = column(",()");
    }
  }

  ColumnName column(std::string_view stops) {
    const Word name = word(stops);
    if (name.text.empty() && name.quote == 0) throw SpecError("a column is missing");
    ColumnName result{name.text};
    if (name.quote != 0 || name.text.front() != '#') return result;
    if (!isNumber(std::string_view(name.text).substr(1), result.number) || result.number == 0) {
      throw SpecError("# begins the number of a column, from 1; put a heading " + name.text +
                      " in quotes");
    }
    return result;
  }

  DomainName domain() {
    const Word name = word(")+");
    DomainName result{.name = name.text, .isGiven = true, .isRelaxed = name.quote != 0};
    result.grows = took("+");
    if (!took(")")) throw SpecError("a closing parenthesis is missing");
    if (name.text.empty()) throw SpecError("the name of a domain is missing");
    if (result.grows && result.isRelaxed) throw SpecError("a domain in quotes cannot grow");
    if (result.grows && result.name == "*") result.grows = false;
    return result;
  }

  /// Up to one of the stops, an arrow or the end; blanks around it are left out. A dot stops only
  /// if another one follows.
  Word word(std::string_view stops) {
    skipBlanks();
    if (isAt("\"") || isAt("'")) return quotedWord();
    Word result;
    for (; at_ < text_.size() && !isAt("->"); ++at_) {
      const char c = text_[at_];
      const bool isStop = stops.find(c) != std::string_view::npos && (c != '.' || isAt(".."));
      if (isStop) break;
      result.text += c;
    }
    result.text = zdb::contract::withoutEndingBlanks(result.text);
    return result;
  }

  Word quotedWord() {
    Word result;
    result.quote = text_[at_++];
    for (; at_ < text_.size(); ++at_) {
      const bool isQuote = text_[at_] == result.quote;
      if (isQuote && text_.compare(at_ + 1, 1, &result.quote, 1) != 0) break;
      if (isQuote) ++at_;
      result.text += text_[at_];
    }
    if (at_ == text_.size()) throw SpecError("a quote is not closed");
    ++at_;
    return result;
  }

  void check() {
    using zdb::contract::isSymbolName;
    const bool isGood = isSymbolName(spec_.name) || spec_.isUniverse();
    if (!isGood) {
      throw SpecError(
          '"' + printable(spec_.name) +
          "\" cannot name a symbol: write NAME=FILE, with a letter first, then letters, "
          "digits and _, at most 63");
    }
    const bool isInput = spec_.file == "-" && !spec_.hasColumns;
    if (!spec_.hasValues && text_.back() == '-' && !isInput) {
      throw SpecError("the arrow -> has no >, which the shell took; put quotes around the SPEC");
    }
    if (spec_.hasValues && !spec_.hasColumns) {
      throw SpecError("columns of labels are missing: write FILE:LABELS->VALUES");
    }
    checkType();
  }
  void checkType() const {
    const auto count = spec_.keys.size();
    if (count + (spec_.isWide() ? 1 : 0) > ZDB_MAX_DIM) {
      throw SpecError("a symbol has at most 20 positions");
    }
    if (spec_.isUniverse() && spec_.hasValues) throw SpecError("labels have no values");
    if (spec_.type == ZDB_SET && spec_.isWide()) {
      throw SpecError("a set has one column of texts");
    }
    if (!spec_.lastDomain.isRelaxed && spec_.lastDomain.name != "*" && !spec_.isWide()) {
      throw SpecError("values have a domain only if there are several columns of them");
    }
    const bool lacksValues = spec_.hasColumns && !spec_.hasValues;
    if (lacksValues && spec_.type.value_or(ZDB_SET) != ZDB_SET) {
      throw SpecError(std::string("a ") + typeName(*spec_.type) +
                      " needs columns of values: ->COLUMN");
    }
    if (spec_.hasColumns && count == 0 && (!spec_.hasValues || spec_.type == ZDB_SET)) {
      throw SpecError("columns of labels are missing after the colon");
    }
  }

  void skipBlanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) ++at_;
  }
  bool isAt(std::string_view token) const { return text_.compare(at_, token.size(), token) == 0; }
  bool took(std::string_view token) {
    skipBlanks();
    if (!isAt(token)) return false;
    at_ += token.size();
    return true;
  }

  const std::string& text_;
  std::size_t at_ = 0;
  ImportSpec spec_;
};

/// The next spec of a file, with line breaks in quotes; false at the end.
bool takeSpec(std::istream& in, std::string& text, std::size_t& line) {
  std::string next;
  text.clear();
  std::size_t quotes = 0;
  while (std::getline(in, next)) {
    ++line;
    const bool isFirst = text.empty() && quotes == 0;
    if (isFirst && (next.find_first_not_of(" \t\r") == std::string::npos || next[0] == '#')) {
      continue;
    }
    if (!isFirst) text += '\n';
    text += next;
    quotes += static_cast<std::size_t>(std::count(next.begin(), next.end(), '"'));
    if (quotes % 2 != 0) continue;
    if (text.ends_with('\r')) text.pop_back();
    return true;
  }
  return !text.empty();
}

/// Of a file with specs. Devices and pipes may never end.
std::string contentOf(const std::string& file) {
  constexpr std::size_t kMost = std::size_t{16} << 20;
  ByteSource source(file);
  std::string content;
  std::string piece(std::size_t{1} << 16, '\0');
  while (const std::size_t count = source.read(piece.data(), piece.size())) {
    content.append(piece, 0, count);
    if (content.size() > kMost) throw ToolError(file + " has more than 16 MiB of SPECs");
  }
  return content;
}

}  // namespace

bool ImportSpec::isWide() const {
  return hasValues && !hasFields() &&
         (values.size() > 1 || values.front().form != ValueColumns::Form::One);
}

ImportSpec parseSpec(const std::string& text) {
  try {
    return SpecParser(text).parse();
  } catch (const SpecError& failure) {
    throw WrongUseError("SPEC " + printable(text) + ": " + failure.what());
  }
}

std::vector<ImportSpec> readSpecs(const std::string& file) {
  std::istringstream in(contentOf(file));
  std::vector<ImportSpec> specs;
  std::string text;
  std::size_t line = 0;
  const std::filesystem::path folder = std::filesystem::path(file).parent_path();
  while (takeSpec(in, text, line)) {
    try {
      ImportSpec spec = SpecParser(text).parse();
      if (!spec.isAlias() && spec.file != "-") spec.file = (folder / spec.file).string();
      specs.push_back(std::move(spec));
    } catch (const SpecError& failure) {
      throw ToolError(file + ':' + std::to_string(line) + ": " + failure.what());
    }
  }
  return specs;
}

std::string specName(std::string_view name) {
  const bool isPlain =
      !name.empty() && std::all_of(name.begin(), name.end(), zdb::contract::isNamePart);
  return isPlain ? std::string(name) : specText(name);
}

std::string specText(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"') result += '"';
    result += c;
  }
  return result += '"';
}

}  // namespace zdb::tool
