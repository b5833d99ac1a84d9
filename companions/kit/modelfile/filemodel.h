// What a model file says.
#pragma once

#include <string>
#include <vector>

namespace zdb::kit::modelfile {

/// One row of the file. Bounds that are absent are infinite; equal ones make an equation.
struct FileRow {
  std::string name;  ///< empty: the file gives none
  double lower = 0.0;
  double upper = 0.0;
};

struct FileColumn {
  std::string name;
  double lower = 0.0;
  double upper = 0.0;
  bool isInteger = false;
};

/// Row and column count from 1; row 0 is the objective.
struct FileCoefficient {
  int row = 0;
  int column = 0;
  double value = 0.0;
};

/// value * column1 * column2 in a row, in which a pair of columns occurs once.
struct FileProduct {
  int row = 0;
  int column1 = 0;
  int column2 = 0;
  double value = 0.0;
};

/// What a model file says. The objective is no row here, unless the file lists it as one
/// (objectiveRow): then it is a free row that repeats the coefficients of row 0.
struct FileModel {
  std::string name;
  std::vector<FileRow> rows;
  std::vector<FileColumn> columns;
  std::vector<FileCoefficient> coefficients;
  std::vector<FileProduct> products;
  std::string objectiveName;  ///< empty: the file has no objective
  double objectiveConstant = 0.0;
  bool maximize = false;
  int objectiveRow = 0;  ///< 0: none
};

}  // namespace zdb::kit::modelfile
