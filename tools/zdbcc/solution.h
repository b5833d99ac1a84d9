#pragma once

#include <string>
#include <vector>

#include "console.h"
#include "csvwriter.h"
#include "json.h"
#include "values.h"
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

/// The columns of a table in long form: symbol, label1, label2 and so on up to `width`, level,
/// marginal, lower and upper. A symbol with fewer labels leaves columns empty.
std::vector<std::string> solutionColumns(int width);
/// Writes a row of these for each record, after a cell with the scenario if there is one.
void writeSolutionRows(const Shown& shown, const std::string* scenario, int width,
                       ValueFormat& format, CsvWriter& csv);

/// Writes all variables and equations as one such table, which isSolutionTable() knows again.
void writeSolutionTable(const zdbcc::Database& db, Output& output);
/// Whether a file begins as such a table does.
bool isSolutionTable(const std::string& file);

}  // namespace zdb::tool
