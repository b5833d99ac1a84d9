#pragma once

#include <functional>
#include <string>

#include "output.h"

namespace zdb::tool {

/// Whether a file begins as the pages of `zdbcc view` do.
bool isViewPage(const std::string& file);

/// Writes a page that needs nothing but a browser: it may run its own script and style and nothing
/// else, and loads nothing. `writeData` writes the JSON that it shows.
void writeViewPage(const std::string& title, const std::function<void(Output&)>& writeData,
                   Output& output);

}  // namespace zdb::tool
