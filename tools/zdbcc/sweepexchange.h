#pragma once

#include <string>
#include <vector>

#include "scenarios.h"
#include "solution.h"

namespace zdb::tool {

/// A symbol of a model that becomes one of the results, with the scenario before its labels.
struct SweptSymbol {
  explicit SweptSymbol(const zdbcc::Symbol& symbol);

  std::string name;
  int dim;
  int type;
  int userInfo;
  std::string text;
};

/// Throws ToolError unless the names of the scenarios can be labels, and the symbols can have them
/// as one more. To be called before the first solve.
void checkForExchangeFile(const Scenarios& scenarios, const std::vector<SweptSymbol>& symbols);

/// Makes an exchange file of the rows and records of a sweep, which are CSV: the set `scenario`
/// with statuses as texts, the parameters `objective` and `iterations` of scenarios, and the
/// symbols. Throws ToolError or zdbcc::Error.
void writeSweepExchangeFile(const std::string& target, const std::string& rows,
                            const std::string& records, const std::vector<SweptSymbol>& symbols);

}  // namespace zdb::tool
