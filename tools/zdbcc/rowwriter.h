#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "csvwriter.h"
#include "json.h"
#include "output.h"
#include "values.h"

namespace zdb::tool {

/// Writes tables cell by cell: as CSV, or as JSON arrays with an object for each row.
class RowWriter {
 public:
  RowWriter(Output& output, bool json) : csv_(output), json_(output), isJson_(json) {}

  /// A table, whose rows the function writes. It is ended properly even if that fails.
  template <typename Rows>
  void table(const std::vector<std::string>& names, Rows writeRows) {
    begin(names);
    try {
      writeRows();
    } catch (...) {
      end();
      throw;
    }
    end();
  }

  /// For rows that go elsewhere one by one: the names of their cells, without a heading. In JSON,
  /// each is an object on a line of its own.
  void singleRows(const std::vector<std::string>& names) { names_ = names; }

  void text(std::string_view content);
  void number(double value, ValueFormat& format);
  void integer(long long value);
  /// A cell whose content is not known; in JSON, it is null.
  void null();
  /// An empty cell; in JSON, it is left out.
  void nothing();
  void endRow();

  JsonWriter& json() { return json_; }

 private:
  void begin(const std::vector<std::string>& names);
  void end();
  JsonWriter& cell();

  CsvWriter csv_;
  JsonWriter json_;
  bool isJson_;
  bool hasCells_ = false;  ///< the row, in JSON
  std::size_t column_ = 0;
  std::vector<std::string> names_;
};

}  // namespace zdb::tool
