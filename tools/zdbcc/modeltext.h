#pragma once

#include "model.h"

namespace zdb::tool {

/// Reads what the kit cannot read by itself, and keeps it with the source: standard input ("-"),
/// pipes, and what gzip packed, whose name then lacks ".gz". Throws ToolError.
void readTexts(ModelSource& source);

}  // namespace zdb::tool
