#include "kit/modelfile/format.h"

#include <algorithm>
#include <string>

#include "kit/modelfile/mpsfields.h"
#include "kit/modelfile/text.h"

namespace zdb::kit::modelfile {

namespace {

bool isFixedPair(const std::string& name, const std::string& number) {
  double value = 0.0;
  return name.empty() ? number.empty() : isNumber(number, value);
}

// Whether a record of a section makes sense when read by the columns of the fixed format.
bool fitsFixed(std::string_view line, const std::string& section) {
  MpsFields fields;
  if (!splitRecord(line, FileFormat::FixedMps, true, fields)) return false;
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
  // A MathProg model may have `minimize` in its first line, but only after a declaration, with `;`.
  if (isOneOf(word, {"minimize", "maximize"}) && !hasStatements) return FileFormat::Lp;
  return FileFormat::MathProg;
}

}  // namespace

FileFormat formatOf(std::string_view path, std::string_view text) {
  const std::string name = lowerCase(path);
  if (name.ends_with(".mps")) return mpsFormatOf(text);
  if (name.ends_with(".lp")) return FileFormat::Lp;
  if (name.ends_with(".mod")) return FileFormat::MathProg;
  return formatOfContent(text);
}

}  // namespace zdb::kit::modelfile
