#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace zdb::tool {

/// Reads what the kit cannot read by itself, and keeps it with the source: standard input ("-"),
/// pipes, and what gzip packed, whose name then lacks ".gz". Throws ToolError.
ModelSource withTexts(ModelSource source);

/// Throws WrongUseError if more than one of the inputs is standard input.
void requireOneStandardInput(const std::vector<std::string>& inputs);

}  // namespace zdb::tool
