#pragma once

#include "console.h"
#include "verb.h"

namespace zdb::tool {

/// Help on a verb, or on the tool if it is null.
void showHelp(const Verb* verb, Console& console);

/// The whole table of verbs, for programs.
void describeAsJson(Console& console);

}  // namespace zdb::tool
