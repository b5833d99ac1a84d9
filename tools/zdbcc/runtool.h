#pragma once

#include <string>
#include <vector>

namespace zdb::tool {

/// Reads a command line, without the name of the program, runs its verb, and returns the
/// program's exit code. To be called once.
int runTool(const std::vector<std::string>& words);

}  // namespace zdb::tool
