#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "bytesource.h"

namespace zdb::tool {

/// How a CSV file is written.
struct CsvFormat {
  char separator = 0;  ///< 0: the one of comma, semicolon and tab that the first line has most of
  bool commaIsDecimal = false;  ///< so it is no candidate for that
  bool hasQuotes = true;        ///< false: quotes are like other characters
  bool isLatin1 = false;        ///< is converted to UTF-8
  bool trimsBlanks = false;     ///< around fields that are not quoted
};

/// Reads a CSV file row by row, as RFC 4180 has it: fields may be in double quotes, and contain
/// separators and line breaks then, and quotes doubled. Rows end in LF, CR LF or CR; blank lines
/// are passed over, and so is a byte order mark. About 1 ns a byte; memory for the longest row.
class CsvScanner {
 public:
  CsvScanner(const std::string& file, const CsvFormat& format);

  /// Goes to the next row; false after the last. Throws ToolError, with the line, for what is not
  /// CSV.
  bool next();

  /// Passes over a line, whatever is in it.
  void skipLine();

  std::size_t size() const { return fields_.size(); }
  /// Valid until the next row.
  std::string_view field(std::size_t column) const { return fields_[column].text; }
  /// Number of the line, from 1, on which the row begins.
  std::uint64_t line() const { return line_; }

  /// Keeps the rows from the next one on, so that rewind() can go back to it, once.
  void mark();
  void rewind();

  char separator() const { return separator_; }
  const ByteSource& source() const { return source_; }
  /// "flights.csv:12"
  std::string place() const { return placeOf(line_); }

 private:
  enum class Stop { Row, MoreNeeded };
  struct Field {
    std::string_view text;
    bool isQuoted = false;
    bool hasDoubledQuotes = false;
  };

  void skipMark();
  char noticedSeparator() const;
  bool refill();
  Stop scanRow();
  const char* scanPlain(const char* at);
  const char* scanQuoted(const char* at);
  void finishFields();
  std::string placeOf(std::uint64_t line) const;
  [[noreturn]] void fail(std::uint64_t line, const std::string& problem) const;

  ByteSource source_;
  CsvFormat format_;
  char separator_ = ',';
  std::array<bool, 256> stops_{};  ///< bytes that a field without quotes does not just contain

  std::vector<char> buffer_;  ///< with room for a line feed after the end
  std::size_t at_ = 0;        ///< begin of the next row
  std::size_t end_ = 0;
  bool isLast_ = false;  ///< nothing follows what is in the buffer
  bool isMarked_ = false;
  std::size_t mark_ = 0;
  std::uint64_t markedLine_ = 1;

  std::vector<Field> fields_;
  std::deque<std::string> unquoted_;
  std::uint64_t line_ = 1;
  std::uint64_t nextLine_ = 1;
};

}  // namespace zdb::tool
