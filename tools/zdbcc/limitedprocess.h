#pragma once

#include <functional>
#include <optional>

#include "exitcode.h"

namespace zdb::tool {

/// Does some work with so much memory (MiB) as the rest of the program; without a limit in this
/// process. With one, it goes on in a process of its own: solvers do not check every allocation,
/// and one that ends its process must not take the message with it. Throws what the work throws,
/// and ToolError where memory ran out. Ctrl-C is for the work.
///
/// REQUIRES nothing is left to be written, and there is one thread.
ExitCode withMemoryLimit(std::optional<unsigned> megabytes, const std::function<ExitCode()>& work);

}  // namespace zdb::tool
