#include "kit/modelfile_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace zkitfile {

namespace {

// Columns of the six fields of a fixed MPS record, counted from 0: first, and one past the last.
struct FieldColumns {
  std::size_t begin;
  std::size_t end;
};
constexpr std::array<FieldColumns, 6> kFields = {
    {{1, 3}, {4, 12}, {14, 22}, {24, 36}, {39, 47}, {49, 61}}};

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view part(std::string_view line, std::size_t begin, std::size_t end) {
  return begin >= line.size() ? std::string_view{} : line.substr(begin, end - begin);
}

bool splitFixed(std::string_view line, MpsFields& fields) {
  if (line.find('\t') != std::string_view::npos) return false;
  std::size_t gap = 0;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!trimmed(part(line, gap, kFields[i].begin)).empty()) return false;
    fields[i] = trimmed(part(line, kFields[i].begin, kFields[i].end));
    std::replace(fields[i].begin(), fields[i].end(), ' ', '_');
    gap = kFields[i].end;
  }
  return true;  // what follows the last field is a comment
}

bool splitFree(std::string_view line, bool hasType, MpsFields& fields) {
  for (std::size_t i = hasType ? 0 : 1; i < fields.size(); ++i) fields[i] = takeWord(line);
  return trimmed(line).empty();
}

bool isFixedPair(const std::string& name, const std::string& number) {
  double value = 0.0;
  return name.empty() ? number.empty() : isNumber(number, value);
}

// Whether a record of a section makes sense when it is read by the columns of the fixed format.
bool fitsFixed(std::string_view line, const std::string& section) {
  MpsFields fields;
  if (!splitFixed(line, fields)) return false;
  if (section == "rows") return !fields[0].empty() && !fields[1].empty() && fields[2].empty();
  if (fields[2] == "'MARKER'") return true;
  if (section == "bounds" && fields[3].empty()) return !fields[0].empty() && !fields[2].empty();
  return !fields[2].empty() && isFixedPair(fields[2], fields[3]) &&
         isFixedPair(fields[4], fields[5]);
}

FileFormat mpsFormatOf(std::string_view text) {
  int fixed = 0;
  int others = 0;
  std::string section;
  while (!text.empty()) {
    const std::string_view line = takeLine(text);
    if (line.empty() || line.front() == '*' || trimmed(line).empty()) continue;
    if (!isBlank(line.front())) {
      std::string_view words = line;
      section = lowerCase(takeWord(words));
      continue;
    }
    ++(fitsFixed(line, section) ? fixed : others);
  }
  return fixed >= others ? FileFormat::FixedMps : FileFormat::FreeMps;
}

// The first word after blank lines and the comments of all three formats.
std::string firstWord(std::string_view text, std::string_view& line) {
  while (!text.empty()) {
    line = takeLine(text);
    std::string_view words = line;
    const std::string_view word = takeWord(words);
    if (word.empty() || word.front() == '*' || word.front() == '\\' || word.front() == '#') {
      continue;
    }
    return lowerCase(word);
  }
  return {};
}

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

FileFormat formatOfContent(std::string_view text) {
  std::string_view line;
  const std::string word = firstWord(text, line);
  if (isOneOf(word, {"name", "rows", "objsense"}) && !isBlank(line.front())) {
    return mpsFormatOf(text);
  }
  const bool hasStatements = line.find(';') != std::string_view::npos;
  if (isOneOf(word, {"min", "max", "minimum", "maximum"})) return FileFormat::Lp;
  // A MathProg model may begin with its objective, but not before it has declared a variable.
  if (isOneOf(word, {"minimize", "maximize"}) && !hasStatements) return FileFormat::Lp;
  return FileFormat::MathProg;
}

}  // namespace

std::string_view takeLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  std::string_view line = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::string_view takeWord(std::string_view& rest) {
  while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
  const std::size_t end = std::min(rest.find_first_of(" \t"), rest.size());
  const std::string_view word = rest.substr(0, end);
  rest.remove_prefix(end);
  return word;
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

bool isNumber(const std::string& text, double& value) {
  const char* first = text.data() + (!text.empty() && text.front() == '+' ? 1 : 0);
  const char* last = text.data() + text.size();
  const auto [end, error] = std::from_chars(first, last, value);
  return error == std::errc() && end == last && std::isfinite(value);
}

bool splitRecord(std::string_view line, FileFormat format, bool hasType, MpsFields& fields) {
  fields.fill({});
  return format == FileFormat::FixedMps ? splitFixed(line, fields)
                                        : splitFree(line, hasType, fields);
}

FileFormat formatOf(std::string_view path, std::string_view text) {
  const std::string name = lowerCase(path);
  if (name.ends_with(".mps")) return mpsFormatOf(text);
  if (name.ends_with(".lp")) return FileFormat::Lp;
  if (name.ends_with(".mod")) return FileFormat::MathProg;
  return formatOfContent(text);
}

}  // namespace zkitfile
