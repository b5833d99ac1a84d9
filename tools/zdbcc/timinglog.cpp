#include "timinglog.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include "csvwriter.h"

namespace zdb::tool {

namespace {

constexpr std::string_view kHeading = "scenario,worker,seconds,tries\n";

/// Up to the end of the last whole row; 0 for what is not such a file.
std::uint64_t sizeOfRows(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  return text.starts_with(kHeading) ? text.rfind('\n') + 1 : 0;
}

}  // namespace

TimingLog::TimingLog(const std::string& file, bool goesOn)
    : file_(file, goesOn ? sizeOfRows(file) : 0) {
  if (!goesOn || sizeOfRows(file) == 0) file_.write(kHeading);
}

void TimingLog::write(const std::string& scenario, const std::string& worker,
                      const sweep::Outcome& outcome) {
  TextOutput text;
  CsvWriter row(text);
  row.field(scenario);
  row.field(worker);
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.6f", outcome.seconds);
  row.field(seconds);
  row.field(std::to_string(outcome.tries));
  row.endRow();
  file_.write(text.take());
}

}  // namespace zdb::tool
