// The rows, columns and symbols that a model file becomes.
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/symbols.h"

namespace zdb::kit::modelfile {

/// Where a row or column stands among the symbols.
struct Placement {
  int symbol = 0;  ///< in its list, from 0
  std::vector<std::string> labels;
};

/// The rows, columns and symbols of the instance that a file becomes (build.h tells the
/// rules). Numbers of rows and columns count from 1.
struct ModelPlan {
  PlannedSymbols columnSymbols;
  PlannedSymbols rowSymbols;
  std::vector<Placement> columns;  ///< the file's, a slack for each range row, the objective
  std::vector<Placement> rows;     ///< the file's, the objective's if the file lists none
  std::vector<int> rangeRows;      ///< in the order of their slack columns
  int objectiveColumn = 0;         ///< 0: no objective
  int objectiveRow = 0;
};

/// Throws a Complaint about a name that cannot be used.
ModelPlan planModel(const FileModel& file);

/// Whether a row needs a slack column: it has two different bounds.
bool isRange(const FileRow& row);

}  // namespace zdb::kit::modelfile
