// How the numbers of a variant of a model differ from those of the model.
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/filemodel.h"

namespace zdb::kit::modelfile {

/// What differs, with the variant's numbers. Rows and columns count from 1; row 0 is the objective.
struct Difference {
  std::string
      structure;  ///< what else differs, in words; if it is not empty, nothing else is given
  std::vector<int> rows;           ///< whose bounds differ
  std::vector<FileRow> rowBounds;  ///< without names
  std::vector<int> columns;
  std::vector<FileColumn> columnBounds;
  std::vector<FileCoefficient> coefficients;
  bool hasConstant = false;
  double objectiveConstant = 0.0;
};

/// A variant as it was read: how it differs, or why there is none.
struct VariantModel {
  std::string failure;  ///< empty: there is one
  Difference difference;
};

/// Compares models. The structure of both is the same if rows and columns have the same names, in
/// the same order, columns the same kinds, rows the same types, and both the same objective.
Difference compareModels(const FileModel& model, const FileModel& variant);

}  // namespace zdb::kit::modelfile
