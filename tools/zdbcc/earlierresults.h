// What a sweep that was broken off has left.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scenarios.h"

namespace zdb::tool {

/// The whole rows at the begin of a file of results. A row that is torn is as if it were not there.
struct EarlierResults {
  std::size_t rows = 0;    ///< without the heading
  std::uint64_t size = 0;  ///< bytes of heading and rows
  std::size_t failed = 0;  ///< of the scenarios
  std::vector<std::optional<double>> objectives = {};
};

/// Reads results whose rows are those of the scenarios from a first one on; nothing of a file that
/// is not there. Throws ToolError if it is something else.
EarlierResults readEarlierResults(const std::string& file, const std::string& heading,
                                  const Scenarios& scenarios, std::size_t first);

/// How many bytes of a table in long form the heading and the first scenarios have.
std::uint64_t sizeOfRecords(const std::string& file, const std::string& heading,
                            const Scenarios& scenarios, std::size_t count);

}  // namespace zdb::tool
