#pragma once

#include <string>
#include <vector>

namespace zdbtool {

/// One row of a CSV file.
struct CsvRow {
  int number = 0;  ///< of the row in its file, from 1; what messages show
  std::vector<std::string> fields;
};

/// All rows of a CSV file, with commas and with quotes where needed; blank rows are left out.
/// Throws Failure for a file that cannot be read or is no CSV.
std::vector<CsvRow> readCsv(const std::string& file);

}  // namespace zdbtool
