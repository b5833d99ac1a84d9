#pragma once

#include <string>
#include <vector>

namespace zdb::tool {

/// Refuses, with ToolError, to write over what was probably not meant: one of the inputs, or an
/// existing file that is not a data file. To be called before anything is computed.
void checkOutput(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace zdb::tool
