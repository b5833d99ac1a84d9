#include "kit/modelfile/mpsfields.h"

#include <algorithm>

#include "kit/modelfile/text.h"

namespace zdb::kit::modelfile {

namespace {

// Columns of the six fields of a fixed MPS record, from 0: begin <= column < end.
struct FieldColumns {
  std::size_t begin;
  std::size_t end;
};
constexpr std::array<FieldColumns, 6> kFields = {
    {{1, 3}, {4, 12}, {14, 22}, {24, 36}, {39, 47}, {49, 61}}};

std::string_view part(std::string_view line, std::size_t begin, std::size_t end) {
  return begin >= line.size() ? std::string_view{} : line.substr(begin, end - begin);
}

// In place of a name, a comment may begin with '$' instead.
std::string_view withoutComment(std::string_view line) {
  for (const std::size_t at : {kFields[2].begin, kFields[4].begin}) {
    if (line.size() > at && line[at] == '$') return line.substr(0, at);
  }
  return line;
}

bool splitFixed(std::string_view line, MpsFields& fields) {
  line = withoutComment(line);
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
  for (std::size_t i = hasType ? 0 : 1; i < fields.size(); ++i) {
    const std::string_view word = takeWord(line);
    if (word.starts_with('$')) return true;
    fields[i] = word;
  }
  line = trimmed(line);
  return line.empty() || line.starts_with('$');
}

}  // namespace

bool splitRecord(std::string_view line, FileFormat format, bool hasType, MpsFields& fields) {
  fields.fill({});
  return format == FileFormat::FixedMps ? splitFixed(line, fields)
                                        : splitFree(line, hasType, fields);
}

}  // namespace zdb::kit::modelfile
