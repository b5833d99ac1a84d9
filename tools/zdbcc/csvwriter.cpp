#include "csvwriter.h"

namespace zdb::tool {

namespace {

bool needsQuotes(std::string_view text) {
  if (text.empty()) return false;
  return text.front() == '#' || text.front() == ' ' || text.back() == ' ' ||
         text.find_first_of(",\"\r\n") != std::string_view::npos;
}

void appendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

}  // namespace

void CsvWriter::field(std::string_view text) {
  if (!rowIsEmpty_) row_ += ',';
  rowIsEmpty_ = false;
  if (needsQuotes(text)) {
    appendQuoted(row_, text);
  } else {
    row_ += text;
  }
}

void CsvWriter::endRow() {
  row_ += '\n';
  output_.write(row_);
  row_.clear();
  rowIsEmpty_ = true;
}

}  // namespace zdb::tool
