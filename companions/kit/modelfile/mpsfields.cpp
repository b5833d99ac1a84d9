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

}  // namespace

bool splitRecord(std::string_view line, FileFormat format, bool hasType, MpsFields& fields) {
  fields.fill({});
  return format == FileFormat::FixedMps ? splitFixed(line, fields)
                                        : splitFree(line, hasType, fields);
}

}  // namespace zdb::kit::modelfile
