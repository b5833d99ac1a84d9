#pragma once

#include <string>
#include <vector>

#include "symbol.h"

namespace zdb::tool {

/// Names of what a record holds besides its labels: text, value, or level to scale.
std::vector<std::string> valueColumns(const SymbolInfo& symbol);

/// Headings of a symbol's table: the names of the domains ("label" for all labels), then those of
/// the values. All are distinct, without regard to case.
std::vector<std::string> columnNames(const SymbolInfo& symbol);

}  // namespace zdb::tool
