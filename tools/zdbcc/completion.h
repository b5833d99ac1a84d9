#pragma once

#include <string>
#include <vector>

#include "console.h"

namespace zdb::tool {

/// Writes what the last of the words may become, a candidate a line with a text after a tab, or
/// ":files" or ":folders", which the shell finds better itself. Says nothing about problems.
void complete(const std::vector<std::string>& words, Console& console);

}  // namespace zdb::tool
