#pragma once

#include <string>
#include <vector>

#include "console.h"
#include "json.h"
#include "zdbcc.hpp"

namespace zdb::tool {

/// Part of a symbol of a model: all of its records, or those that have some labels.
struct Shown {
  zdbcc::Symbol symbol;
  std::vector<std::string> labels;  ///< "*" for any; none for the whole symbol
};

/// Reads buy, buy[bread] or ship['New York',*]. Throws ToolError, with a guess, if nothing is
/// there.
Shown readShown(const zdbcc::Database& db, const std::string& text);

/// Writes labels, level and marginal in aligned columns, with ten digits.
void printShown(const Shown& shown, const zdbcc::Database& db, Console& console);

/// Writes an object for each record: symbol, labels, level, marginal, and bounds.
void writeShown(const std::vector<Shown>& shown, const zdbcc::Database& db, JsonWriter& json);

/// Writes all variables and equations as one table in long form, which isSolutionTable() knows
/// again: symbol, label1, label2 and so on, level, marginal, lower and upper. A symbol with fewer
/// labels than others leaves columns empty.
void writeSolutionTable(const zdbcc::Database& db, Output& output);
/// Whether a file begins as such a table does.
bool isSolutionTable(const std::string& file);

}  // namespace zdb::tool
