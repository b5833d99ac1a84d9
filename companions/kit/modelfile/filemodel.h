// The content of a model file.
#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace zdb::kit::modelfile {

/// One row of the file. Absent bounds are infinite; with equal bounds it is an equation.
struct FileRow {
  std::string name;  ///< empty: the file gives it no name
  double lower = 0.0;
  double upper = 0.0;
};

struct FileColumn {
  std::string name;
  double lower = 0.0;
  double upper = 0.0;
  bool isInteger = false;
};

/// Rows and columns count from 1; row 0 is the objective.
struct FileCoefficient {
  int row = 0;
  int column = 0;
  double value = 0.0;
};

/// value * column1 * column2 in a row; each pair of columns occurs at most once in a row.
struct FileProduct {
  int row = 0;
  int column1 = 0;
  int column2 = 0;
  double value = 0.0;
};

/// A bound as the kit has it: from 1.0E300 on, it is infinite.
inline double boundOf(double value) {
  constexpr double kInfinite = 1.0e300;
  if (value > -kInfinite && value < kInfinite) return value;
  return std::copysign(std::numeric_limits<double>::infinity(), value);
}

/// The content of a model file. The objective is not one of the rows, unless the file lists it as
/// one (objectiveRow): then that is a free row that repeats the coefficients of row 0.
struct FileModel {
  /// Begins a line that a statement prints for the kit.
  static constexpr std::string_view kNote = "@zkit@ ";

  std::string name;
  std::vector<FileRow> rows;
  std::vector<FileColumn> columns;
  std::vector<FileCoefficient> coefficients;
  std::vector<FileProduct> products;
  std::string objectiveName;  ///< empty: the file has no objective
  double objectiveConstant = 0.0;
  bool maximize = false;
  int objectiveRow = 0;            ///< 0: none
  std::vector<std::string> notes;  ///< lines after kNote that statements of the model printed
};

}  // namespace zdb::kit::modelfile
