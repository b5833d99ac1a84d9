// The data of a model.
#pragma once

#include <string>
#include <vector>

#include "kit/dictionary.h"

namespace zdb::kit {

enum RowType : int { EqualRow = 0, GreaterRow = 1, LessRow = 2, FreeRow = 3 };

struct ColumnData {
  double lower = 0.0;  ///< absent bounds are infinite, here and below
  double upper = 0.0;
  double level = 0.0;
  bool isInteger = false;
  bool isParameter = false;
};

struct RowData {
  int type = EqualRow;
  double rhs = 0.0;
  double constant = 0.0;  ///< on the left-hand side
};

struct Coefficient {
  int row;
  int column;
  double value;
};

/// value * column1 * column2; column1 is a parameter.
struct Product {
  int row;
  int column1;
  int column2;
  double value;
};

/// The right-hand side of a row that is the level of a parameter.
struct RhsLink {
  int row;
  int column;
};

/// A coefficient that a host may set by its place, whatever it is at first.
struct OpenPlace {
  int row;
  int column;
};

struct ModelData {
  std::string name;
  Dictionary dictionary;
  std::vector<ColumnData> columns;
  std::vector<RowData> rows;
  std::vector<Coefficient>
      coefficients;               ///< in any order; those of the same row and column are added up
  std::vector<Product> products;  ///< likewise, of the same row and columns
  std::vector<OpenPlace> openPlaces;  ///< of columns that are no parameters
  std::vector<RhsLink> rhsLinks;      ///< at most one of a row
  int objective = -1;
  int direction = 1;
};

}  // namespace zdb::kit
