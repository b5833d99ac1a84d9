// A CSV file with a heading, read at once.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// One row of fields.
struct CsvRow {
  int line = 1;  ///< where it begins, from 1
  std::vector<std::string> fields;
};

/// All errors are std::runtime_error, with "file:line: " before what is wrong.
class CsvFile {
 public:
  /// Reads a file whose heading begins with these columns and whose rows have as many fields as the
  /// heading. Blank lines are skipped.
  CsvFile(std::string file, const std::vector<std::string>& columns);

  const std::vector<std::string>& heading() const { return heading_.fields; }
  /// The number in a field: decimal, finite and not negative.
  double number(const CsvRow& row, std::size_t field) const;
  /// Calls `visit` for all rows but the heading. What it throws gets the place of the row.
  void forEachRow(const std::function<void(const CsvRow&)>& visit) const;
  [[noreturn]] void failAtHeading(const std::string& what) const { fail(heading_.line, what); }

 private:
  [[noreturn]] void fail(int line, const std::string& what) const;
  void read();
  void requireHeading(const std::vector<std::string>& columns) const;

  std::string file_;
  CsvRow heading_;
  std::vector<CsvRow> rows_;
};
