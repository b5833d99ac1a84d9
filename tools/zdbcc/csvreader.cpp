#include "csvreader.h"

#include "csvscanner.h"
#include "exitcode.h"

namespace zdb::tool {

namespace {

/// Devices and pipes may never end.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;

}  // namespace

std::vector<CsvRow> readCsv(const std::string& file) {
  CsvFormat format;
  format.trimsBlanks = true;
  CsvScanner csv(file, format);
  std::vector<CsvRow> rows;
  while (csv.next()) {
    CsvRow& row = rows.emplace_back();
    row.number = static_cast<int>(rows.size());
    for (std::size_t i = 0; i < csv.size(); ++i) row.fields.emplace_back(csv.field(i));
    if (csv.source().done() > kMostBytes) {
      throw ToolError(file + " has more than 1 GiB, which is too much");
    }
  }
  return rows;
}

}  // namespace zdb::tool
