// Decides which rows, columns and symbols a model file becomes.
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/symbols.h"

namespace zdb::kit::modelfile {

/// The symbol and labels of a row or column.
struct Placement {
  int symbol = 0;  ///< index into its list
  std::vector<std::string> labels;
};

/// The rows, columns and symbols of the instance that a file becomes; build.h describes the rules.
/// Rows and columns count from 1.
struct ModelPlan {
  PlannedSymbols columnSymbols;
  PlannedSymbols rowSymbols;
  std::vector<Placement> columns;  ///< the file's, a slack for each range row, then the objective
  std::vector<Placement> rows;     ///< the file's, then the objective's unless the file lists it
  std::vector<int> rangeRows;      ///< in the order of their slack columns
  int objectiveColumn = 0;         ///< 0: no objective
  int objectiveRow = 0;
};

/// Throws a ReadError about a name that cannot be used.
ModelPlan planModel(const FileModel& file);

/// Whether a row needs a slack column: it has two different bounds.
bool isRange(const FileRow& row);

}  // namespace zdb::kit::modelfile
