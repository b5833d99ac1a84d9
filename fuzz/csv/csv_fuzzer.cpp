// Any bytes as a CSV file and as a SPEC. The scanner must find the rows that a plain state machine
// finds, wherever its buffer ends, or refuse the file where that one does.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "csvscanner.h"
#include "exitcode.h"
#include "importspec.h"
#include "tests/support/files.h"

namespace {

using Row = std::vector<std::string>;
using Rows = std::optional<std::vector<Row>>;  // none if the file is refused

constexpr std::size_t kPiece = std::size_t{1} << 18;  // of what the scanner reads at once

const zdb::test::TemporaryFolder folder;  // with TMPDIR=/dev/shm, it is in memory

void require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "broken promise: %s\n", what);
  std::abort();
}

/// The rows of a text with commas and quotes, one character at a time.
class PlainScanner {
 public:
  Rows read(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char c = text[i];
      if (c == '\0') return std::nullopt;
      if (state_ == Quoted) {
        c == '"' ? void(state_ = QuoteInQuotes) : field_.push_back(c);
      } else if (c == '"' && state_ != Begin) {
        if (state_ != QuoteInQuotes) return std::nullopt;
        field_ += c;
        state_ = Quoted;
      } else if (c == '"') {
        state_ = Quoted;
      } else if (c == ',') {
        endField();
      } else if (c == '\n' || c == '\r') {
        if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        endRow();
      } else {
        if (state_ == QuoteInQuotes) return std::nullopt;
        field_ += c;
        state_ = Plain;
      }
    }
    if (state_ == Quoted) return std::nullopt;
    endRow();
    return rows_;
  }

 private:
  enum State { Begin, Plain, Quoted, QuoteInQuotes };

  void endField() {
    row_.push_back(std::move(field_));
    field_.clear();
    state_ = Begin;
  }
  void endRow() {
    const bool isBlank = row_.empty() && state_ == Begin;
    endField();
    if (!isBlank) rows_.push_back(row_);
    row_.clear();
  }

  State state_ = Begin;
  std::string field_;
  Row row_;
  std::vector<Row> rows_;
};

/// The rows after the first one, which has one field.
Rows scanned(const std::string& path, std::size_t firstSize) {
  try {
    zdb::tool::CsvFormat format;
    format.separator = ',';
    zdb::tool::CsvScanner csv(path, format);
    std::vector<Row> rows;
    std::uint64_t line = 1;
    require(csv.next() && csv.size() == 1 && csv.field(0).size() == firstSize, "the first row");
    while (csv.next()) {
      require(csv.line() > line, "lines that ascend");
      line = csv.line();
      Row row;
      for (std::size_t i = 0; i < csv.size(); ++i) row.emplace_back(csv.field(i));
      rows.push_back(row);
    }
    return rows;
  } catch (const zdb::tool::ToolError& error) {
    require(std::string(error.what()).find(path) != std::string::npos, "a message with the path");
    return std::nullopt;
  }
}

void parse(const std::string& spec) {
  try {
    const zdb::tool::ImportSpec parsed = zdb::tool::parseSpec(spec);
    require(!parsed.name.empty() && !parsed.file.empty(), "a name and a file");
    require(parsed.keys.size() <= 20, "not too many positions");
  } catch (const zdb::tool::WrongUseError& error) {
    require(*error.what() != '\0', "a message");
  }
}

}  // namespace

// The first byte says how far the text is from where the scanner's first piece ends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  parse(text);
  static const std::string manyLetters(kPiece, 'x');
  const std::size_t before = kPiece - data[0];
  const std::string path = folder.write("a.csv", manyLetters.substr(data[0]) + '\n' + text);
  require(scanned(path, before) == PlainScanner().read(text), "the rows of the plain scanner");
  std::filesystem::remove(path);
  return 0;
}
