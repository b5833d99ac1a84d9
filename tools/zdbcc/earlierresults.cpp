#include "earlierresults.h"

#include <fstream>

#include "console.h"
#include "csvwriter.h"
#include "number.h"
#include "scenariosolver.h"
#include "sweepfiles.h"

namespace zdb::tool {

namespace {

/// What a row of a scenario begins with.
std::string beginOf(const std::string& scenario) {
  TextOutput unused;
  CsvWriter row(unused);
  row.field(scenario);
  return row.takeRow() + ',';
}

/// Takes the next field, which has no quotes, off a row.
std::string_view takeField(std::string_view& row) {
  const std::string_view field = row.substr(0, row.find_first_of(",\n"));
  row.remove_prefix(std::min(row.size(), field.size() + 1));
  return field;
}

void take(EarlierResults& results, std::string_view row) {
  if (takeField(row) == kFailedStatus) ++results.failed;
  double objective = 0;
  const bool hasObjective = readNumber(takeField(row), objective);
  results.objectives.push_back(hasObjective ? std::optional(objective) : std::nullopt);
  ++results.rows;
}

bool readHeading(std::ifstream& stream, std::string& line, const std::string& file,
                 const std::string& heading) {
  if (!readWholeLine(stream, line)) return false;
  if (line == heading) return true;
  throw ToolError(file + " cannot be resumed: its first line is not the heading of these results");
}

}  // namespace

EarlierResults readEarlierResults(const std::string& file, const std::string& heading,
                                  const Scenarios& scenarios, std::size_t first) {
  EarlierResults results;
  std::ifstream stream(file, std::ios::binary);
  std::string line;
  if (!readHeading(stream, line, file, heading)) return results;
  results.size = line.size();
  while (readWholeLine(stream, line)) {
    const std::size_t scenario = first + results.rows;
    const std::string begin = scenario < scenarios.count() ? beginOf(scenarios.name(scenario)) : "";
    if (begin.empty() || !line.starts_with(begin)) {
      throw ToolError(file + " cannot be resumed: row " + std::to_string(results.rows + 2) +
                      " is not that of a scenario in its turn");
    }
    take(results, std::string_view(line).substr(begin.size()));
    results.size += line.size();
  }
  return results;
}

std::uint64_t sizeOfRecords(const std::string& file, const std::string& heading,
                            const Scenarios& scenarios, std::size_t count) {
  std::ifstream stream(file, std::ios::binary);
  std::string line;
  if (!readHeading(stream, line, file, heading)) return 0;
  std::uint64_t size = line.size();
  std::size_t scenario = 0;
  while (readWholeLine(stream, line)) {
    while (scenario < count && !line.starts_with(beginOf(scenarios.name(scenario)))) ++scenario;
    if (scenario == count) break;
    size += line.size();
  }
  return size;
}

}  // namespace zdb::tool
