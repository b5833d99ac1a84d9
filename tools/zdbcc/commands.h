#pragma once

#include "console.h"

namespace CLI {
class App;
}

// One line and one file per command. Each function adds its subcommand to `app`; the command runs
// while the command line is parsed and throws ToolError if it cannot continue.
namespace zdb::tool {

void addInfo(CLI::App& app, Console& console);
void addDump(CLI::App& app, Console& console);
/// With the exchange file companion only.
void addCheck(CLI::App& app, Console& console);
/// With the model kit only.
void addSolve(CLI::App& app, Console& console);
void addSweep(CLI::App& app, Console& console);

}  // namespace zdb::tool
