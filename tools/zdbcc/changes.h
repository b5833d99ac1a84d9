#pragma once

#include <string>

#include "console.h"
#include "model.h"

namespace zdb::tool {

/// Takes every parameter of an exchange file that is updatable in the model. Throws ToolError if
/// there is none; notes records that have no entry in the model.
void takeDataFile(Model& model, const std::string& file, Console& console);

/// Takes what an option --set says: SYMBOL=FILE, a CSV file with labels and a value in each row,
/// with or without a heading.
void takeCsv(Model& model, const std::string& option, Console& console);

}  // namespace zdb::tool
