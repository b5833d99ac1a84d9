#include "csvfile.h"

#include <csv.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kMaxRowText = 4096;

/// Takes what libcsv calls back with. Exceptions cannot pass through it, so they wait in `error`.
struct Reader {
  Reader() { csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI); }
  ~Reader() { csv_free(&parser); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  csv_parser parser = {};
  CsvRow row;
  std::size_t rowText = 0;
  std::vector<CsvRow> rows;
  std::string error;  ///< of `row`; empty if there is none
};

void addField(void* text, std::size_t length, void* user) {
  auto& reader = *static_cast<Reader*>(user);
  const std::string field(static_cast<const char*>(text), length);
  reader.rowText += length + 1;
  if (!reader.error.empty()) return;
  if (field.find('\0') != std::string::npos) reader.error = "the text contains a zero byte";
  if (reader.rowText > kMaxRowText) {
    reader.error = "the row is longer than " + std::to_string(kMaxRowText - 1) + " bytes";
  }
  reader.row.fields.push_back(field);
}

void endRow(int /*terminator*/, void* user) {
  auto& reader = *static_cast<Reader*>(user);
  if (!reader.error.empty()) return;
  reader.rows.push_back(std::exchange(reader.row, {}));
  reader.rowText = 0;
}

}  // namespace

CsvFile::CsvFile(std::string file, const std::vector<std::string>& columns)
    : file_(std::move(file)) {
  read();
  if (rows_.empty()) failAtHeading("the file is empty");
  heading_ = rows_.front();
  rows_.erase(rows_.begin());
  requireHeading(columns);
  for (const CsvRow& row : rows_) {
    if (row.fields.size() == heading().size()) continue;
    fail(row.line, std::to_string(row.fields.size()) + " fields, but the heading has " +
                       std::to_string(heading().size()));
  }
}

/// Line by line, since libcsv does not tell where it is; an open quote continues a row.
void CsvFile::read() {
  std::ifstream input(file_);
  if (!input) throw std::runtime_error("cannot open " + file_ + ": " + std::strerror(errno));
  Reader reader;
  bool quoteIsOpen = false;
  std::string line;
  for (int number = 1; std::getline(input, line); ++number) {
    if (!quoteIsOpen) reader.row.line = number;
    if (std::count(line.begin(), line.end(), '"') % 2 != 0) quoteIsOpen = !quoteIsOpen;
    line += '\n';
    if (csv_parse(&reader.parser, line.data(), line.size(), addField, endRow, &reader) <
            line.size() &&
        reader.error.empty()) {
      reader.error = "a quote is inside a field or not closed";
    }
    if (!reader.error.empty()) fail(reader.row.line, reader.error);
  }
  if (input.bad()) fail(reader.row.line, std::strerror(errno));
  if (csv_fini(&reader.parser, addField, endRow, &reader) != 0) {
    fail(reader.row.line, "a quote is inside a field or not closed");
  }
  rows_ = std::move(reader.rows);
}

void CsvFile::fail(int line, const std::string& what) const {
  throw std::runtime_error(file_ + ":" + std::to_string(line) + ": " + what);
}

void CsvFile::requireHeading(const std::vector<std::string>& columns) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i < heading().size() && heading()[i] == columns[i]) continue;
    failAtHeading("column " + std::to_string(i + 1) + " of the heading must be \"" + columns[i] +
                  "\"");
  }
}

double CsvFile::number(const CsvRow& row, std::size_t field) const {
  const std::string& text = row.fields[field];
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  const bool isDecimal = !text.empty() && text.find_first_not_of("0123456789.eE+-") == text.npos;
  if (!isDecimal || *end != '\0' || !std::isfinite(number)) {
    throw std::runtime_error(heading()[field] + " is \"" + text + "\", which is not a number");
  }
  if (number < 0) {
    throw std::runtime_error(heading()[field] + " is " + text + ", but must not be negative");
  }
  return number;
}

void CsvFile::forEachRow(const std::function<void(const CsvRow&)>& visit) const {
  for (const CsvRow& row : rows_) {
    try {
      visit(row);
    } catch (const std::exception& error) {
      fail(row.line, error.what());
    }
  }
}
