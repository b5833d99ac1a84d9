#pragma once

#include <string>
#include <vector>

namespace zdb::tool {

/// One row of a CSV file.
struct CsvRow {
  int number = 0;  ///< of the row in its file, from 1, for messages
  std::vector<std::string> fields;
};

/// Reads all rows of a CSV file, with commas, semicolons or tabs, into memory, without blanks
/// around fields. Throws ToolError for a file that cannot be read or is not CSV.
std::vector<CsvRow> readCsv(const std::string& file);

}  // namespace zdb::tool
