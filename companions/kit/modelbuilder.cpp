#include "kit/modelbuilder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "kit/error.h"

namespace zdb::kit {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = 1.0E300;  // bounds of this size are infinite

std::string printed(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

double asBound(double value) {
  if (value >= kLargest) return kInfinity;
  return value <= -kLargest ? -kInfinity : value;
}

void checkFinite(double value, const char* what) {
  if (std::abs(value) < kLargest) return;
  throw KitError(std::string(what) + " must be a finite number, not " + printed(value));
}

void checkLabels(const Symbol& symbol, const char* const* labels) {
  if (symbol.dim > 0 && labels == nullptr) {
    throw KitError("Symbol " + symbol.name + " needs " + std::to_string(symbol.dim) + " labels");
  }
  for (int d = 0; d < symbol.dim; ++d) {
    const std::string_view label = labels[d] == nullptr ? "" : withoutEndingBlanks(labels[d]);
    if (isLabel(label)) continue;
    throw KitError("Label " + quoted(label) + " of symbol " + symbol.name +
                   " must have 1 to 63 bytes, no control characters and not both quotes");
  }
}

void checkBounds(double lower, double upper) {
  const bool isUsable = lower < kInfinity && upper > -kInfinity;  // false for NaN
  if (isUsable) return;
  throw KitError("A column cannot have the bounds " + printed(lower) + " and " + printed(upper));
}

std::size_t hashOf(int symbol, const int* key, int dim) {
  auto hash = static_cast<std::size_t>(symbol);
  for (int d = 0; d < dim; ++d) {
    hash = (hash ^ (hash >> 29)) * 0x9E3779B97F4A7C15U + static_cast<std::size_t>(key[d]);
  }
  return hash ^ (hash >> 32);
}

}  // namespace

bool EntryIndex::has(const EntryTable& table, int symbol, const int* key, int dim) const {
  const auto [first, last] = entries_.equal_range(hashOf(symbol, key, dim));
  return std::any_of(first, last, [&](const auto& item) {
    return table.symbol(item.second) == symbol &&
           std::equal(key, key + dim, table.key(item.second));
  });
}

void EntryIndex::add(int entry, int symbol, const int* key, int dim) {
  entries_.emplace(hashOf(symbol, key, dim), entry);
}

int ModelBuilder::addSymbol(std::string_view name, int type, int dim, std::string_view text,
                            int userInfo) {
  if (!isSymbolName(name)) {
    throw KitError("Symbol name " + quoted(name) +
                   " must be a letter, then letters, digits or _, at most 63 characters");
  }
  if (data_.dictionary.findSymbol(name) > 0) {
    throw KitError("Symbol " + quoted(name) + " exists already");
  }
  if (type != VariableSymbol && type != EquationSymbol) {
    throw KitError("Symbol type must be 5 (variable) or 6 (equation), not " + std::to_string(type));
  }
  if (dim < 0 || dim > kMaxDim) {
    throw KitError("Dimension of symbol " + quoted(name) + " must be 0 to 20, not " +
                   std::to_string(dim));
  }
  if (text.size() > 255) {
    throw KitError("Text of symbol " + quoted(name) + " has " + std::to_string(text.size()) +
                   " bytes, more than 255");
  }
  const bool isParameter = type == VariableSymbol && isParameterName(name);
  return data_.dictionary.addSymbol(
      {std::string(name), std::string(text), type, dim, userInfo, isParameter, {}});
}

const Symbol& ModelBuilder::checkedSymbol(int number, int type) const {
  if (!data_.dictionary.hasSymbol(number)) {
    throw KitError("There is no symbol " + std::to_string(number));
  }
  const Symbol& symbol = data_.dictionary.symbol(number);
  if (symbol.type == type) return symbol;
  throw KitError("Symbol " + symbol.name +
                 (type == VariableSymbol ? " is an equation: it has rows, not columns"
                                         : " is a variable: it has columns, not rows"));
}

// An entry with an unknown label is new, so the check for repeated entries needs no new labels.
void ModelBuilder::addEntry(int number, const char* const* labels, EntryIndex& known) {
  Dictionary& dictionary = data_.dictionary;
  const Symbol& symbol = dictionary.symbol(number);
  const EntryTable& table = dictionary.entriesOf(symbol);
  const int dim = symbol.dim;
  checkLabels(symbol, labels);
  Key key{};
  for (int d = 0; d < dim; ++d) key[d] = dictionary.findLabel(labels[d]);
  if (known.has(table, number, key.data(), dim)) {
    throw KitError("Entry " + dictionary.entryName(number, key.data()) + " exists already");
  }
  for (int d = 0; d < dim; ++d) key[d] = dictionary.addLabel(labels[d]);
  known.add(table.count(), number, key.data(), dim);
  dictionary.addEntry(number, key.data());
}

int ModelBuilder::addColumn(int number, const char* const* labels, double lower, double upper,
                            double level) {
  const bool isParameter = checkedSymbol(number, VariableSymbol).isParameter;
  checkBounds(asBound(lower), asBound(upper));
  checkFinite(level, "The level of a column");
  addEntry(number, labels, columnIndex_);
  data_.columns.push_back({asBound(lower), asBound(upper), level, false, isParameter});
  return static_cast<int>(data_.columns.size()) - 1;
}

int ModelBuilder::addRow(int number, const char* const* labels, int type, double rhs) {
  checkedSymbol(number, EquationSymbol);
  if (type < EqualRow || type > FreeRow) {
    throw KitError("Row type must be 0 (=), 1 (>=), 2 (<=) or 3 (free), not " +
                   std::to_string(type));
  }
  checkFinite(rhs, "The right-hand side of a row");
  addEntry(number, labels, rowIndex_);
  data_.rows.push_back({type, rhs + 0.0, 0.0});  // 0 for -0
  return static_cast<int>(data_.rows.size()) - 1;
}

RowData& ModelBuilder::checkedRow(int row) {
  if (row >= 0 && row < static_cast<int>(data_.rows.size())) return data_.rows[row];
  throw KitError("There is no row " + std::to_string(row));
}

ColumnData& ModelBuilder::checkedColumn(int column) {
  if (column >= 0 && column < static_cast<int>(data_.columns.size())) return data_.columns[column];
  throw KitError("There is no column " + std::to_string(column));
}

void ModelBuilder::setInteger(int column, bool isInteger) {
  ColumnData& data = checkedColumn(column);
  if (data.isParameter && isInteger) {
    throw KitError(columnName(column) + " is an updatable parameter and cannot be integer");
  }
  data.isInteger = isInteger;
}

void ModelBuilder::addCoefficient(int row, int column, double value) {
  checkedRow(row);
  checkedColumn(column);
  checkFinite(value, "A coefficient");
  data_.coefficients.push_back({row, column, value});
}

void ModelBuilder::addProduct(int row, int column1, int column2, double value) {
  checkedRow(row);
  const bool isFirst = checkedColumn(column1).isParameter;
  if (!isFirst && !checkedColumn(column2).isParameter) {
    throw KitError("The product of " + columnName(column1) + " and " + columnName(column2) +
                   " needs a factor whose symbol ends in _var, an updatable parameter");
  }
  checkedColumn(column2);
  checkFinite(value, "A coefficient");
  data_.products.push_back(isFirst ? Product{row, column1, column2, value}
                                   : Product{row, column2, column1, value});
}

void ModelBuilder::addConstant(int row, double value) {
  RowData& data = checkedRow(row);
  checkFinite(value, "A constant");
  checkFinite(data.constant + value, "The sum of constants");
  data.constant += value;
}

void ModelBuilder::setObjective(int column, int direction) {
  if (column != -1) checkedColumn(column);
  if (direction != 1 && direction != -1) {
    throw KitError("Direction must be 1 (minimise) or -1 (maximise), not " +
                   std::to_string(direction));
  }
  data_.objective = column;
  data_.direction = direction;
}

}  // namespace zdb::kit
