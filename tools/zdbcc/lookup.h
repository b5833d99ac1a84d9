#pragma once

#include <string>
#include <vector>

#include "zdbcc.hpp"

namespace zdb::tool {

/// Throws ToolError unless there is a label for each position of a symbol.
void requireLabelCount(const zdbcc::Symbol& symbol, const std::vector<std::string>& labels);

/// A symbol, and labels, that must be there: ToolError has a guess at what was meant.
zdbcc::Symbol requireSymbol(const zdbcc::Database& db, const std::string& name);
void requireLabels(const zdbcc::Database& db, const std::vector<std::string>& labels);

}  // namespace zdb::tool
