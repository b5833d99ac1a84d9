#include "kit/modelbuilder.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kit/bounds.h"
#include "kit/error.h"

namespace zdb::kit {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

void checkFinite(double value, const char* what) {
  if (std::abs(value) < kInfiniteBound) return;
  throw KitError(std::string(what) + " must be a finite number, not " + shown(value));
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
  throw KitError("A column cannot have the bounds " + shown(lower) + " and " + shown(upper));
}

constexpr int kMost = std::numeric_limits<int>::max();

void checkRow(int type, double rhs) {
  if (type < EqualRow || type > FreeRow) {
    throw KitError("Row type must be 0 (=), 1 (>=), 2 (<=) or 3 (free), not " +
                   std::to_string(type));
  }
  checkFinite(rhs, "The right-hand side of a row");
}

// Whether so many can be added to what is there.
void checkCount(int count, std::size_t present, const char* what) {
  if (count >= 0 && present <= static_cast<std::size_t>(kMost - count)) return;
  throw KitError("Cannot add " + std::to_string(count) + " " + what + " to " +
                 std::to_string(present));
}

// Runs a check of each of some things, and says which one it was that is wrong.
template <typename Check>
void checkEach(int count, const char* what, Check check) {
  for (int k = 0; k < count; ++k) {
    try {
      check(k);
    } catch (const KitError& error) {
      throw KitError(std::string(what) + " " + std::to_string(k) +
                     " of the array: " + error.what());
    }
  }
}

template <typename Value>
Value at(const Value* values, int k, Value otherwise) {
  return values == nullptr ? otherwise : values[k];
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
  checkRow(type, rhs);
  addEntry(number, labels, rowIndex_);
  data_.rows.push_back({type, rhs + 0.0, 0.0});  // 0 for -0
  return static_cast<int>(data_.rows.size()) - 1;
}

ModelBuilder::NewEntries ModelBuilder::checkedEntries(int number, int count,
                                                      const char* const* labels,
                                                      const EntryIndex& known) const {
  const Dictionary& dictionary = data_.dictionary;
  const Symbol& symbol = dictionary.symbol(number);
  const EntryTable& table = dictionary.entriesOf(symbol);
  const int dim = symbol.dim;
  NewEntries entries;
  std::unordered_map<std::string_view, int, CaselessHash, CaselessEqual> numbers;
  const auto numberOf = [&](const char* label) {
    const std::string_view text = withoutEndingBlanks(label);
    const int found = dictionary.findLabel(text);
    if (found > 0) return found;
    const int next = dictionary.labelCount() + static_cast<int>(entries.labels.size()) + 1;
    const auto [place, isNew] = numbers.try_emplace(text, next);
    if (isNew) entries.labels.push_back(text);
    return place->second;
  };
  EntryTable own;
  EntryIndex ownIndex;
  checkEach(count, symbol.type == VariableSymbol ? "Column" : "Row", [&](int k) {
    const char* const* first = labels == nullptr ? nullptr : labels + std::ptrdiff_t{k} * dim;
    checkLabels(symbol, first);
    Key key{};
    for (int d = 0; d < dim; ++d) key[d] = numberOf(first[d]);
    const bool isThere = known.has(table, number, key.data(), dim);
    if (isThere || ownIndex.has(own, number, key.data(), dim)) {
      std::string name = symbol.name;
      for (int d = 0; d < dim; ++d) name.append(d == 0 ? "(" : ",").append(first[d]);
      throw KitError("Entry " + name + (dim > 0 ? ")" : "") + " exists already");
    }
    ownIndex.add(own.count(), number, key.data(), dim);
    own.add(number, key.data(), dim);
    entries.keys.insert(entries.keys.end(), key.begin(), key.begin() + dim);
  });
  return entries;
}

void ModelBuilder::addEntries(int number, int count, const NewEntries& entries, EntryIndex& known) {
  Dictionary& dictionary = data_.dictionary;
  const Symbol& symbol = dictionary.symbol(number);
  const EntryTable& table = dictionary.entriesOf(symbol);
  for (const std::string_view label : entries.labels) dictionary.addLabel(label);
  for (int k = 0; k < count; ++k) {
    const int* key = entries.keys.data() + std::ptrdiff_t{k} * symbol.dim;
    known.add(table.count(), number, key, symbol.dim);
    dictionary.addEntry(number, key);
  }
}

void ModelBuilder::checkCoefficients(const ColumnArrays& columns) const {
  if (columns.starts == nullptr) return;
  const int count = columns.count;
  checkEach(count, "Column", [&](int k) {
    if (columns.starts[k] < 0 || columns.starts[k] > columns.starts[k + 1]) {
      throw KitError("Starts must begin at 0 or more and never fall, not " +
                     std::to_string(columns.starts[k]) + ", " +
                     std::to_string(columns.starts[k + 1]));
    }
  });
  const int first = columns.starts[0];
  const int places = columns.starts[count] - first;
  checkCount(places, data_.coefficients.size(), "coefficients");
  if (places > 0 && (columns.rows == nullptr || columns.values == nullptr)) {
    throw KitError("Rows and values of coefficients must not be null");
  }
  checkEach(places, "Coefficient", [&](int k) {
    checkRowNumber(columns.rows[first + k]);
    checkFinite(columns.values[first + k], "A coefficient");
  });
}

int ModelBuilder::addColumns(int number, const ColumnArrays& columns) {
  const bool isParameter = checkedSymbol(number, VariableSymbol).isParameter;
  checkCount(columns.count, data_.columns.size(), "columns");
  const auto lower = [&](int k) { return asBound(at(columns.lower, k, 0.0)); };
  const auto upper = [&](int k) { return asBound(at(columns.upper, k, kInfinity)); };
  checkEach(columns.count, "Column", [&](int k) {
    checkBounds(lower(k), upper(k));
    checkFinite(at(columns.level, k, 0.0), "The level of a column");
  });
  checkCoefficients(columns);
  const NewEntries entries = checkedEntries(number, columns.count, columns.labels, columnIndex_);
  addEntries(number, columns.count, entries, columnIndex_);
  const int first = static_cast<int>(data_.columns.size());
  for (int k = 0; k < columns.count; ++k) {
    data_.columns.push_back({lower(k), upper(k), at(columns.level, k, 0.0), false, isParameter});
    if (columns.starts == nullptr) continue;
    for (int place = columns.starts[k]; place < columns.starts[k + 1]; ++place) {
      data_.coefficients.push_back({columns.rows[place], first + k, columns.values[place]});
    }
  }
  return first;
}

int ModelBuilder::addRows(int number, const RowArrays& rows) {
  checkedSymbol(number, EquationSymbol);
  checkCount(rows.count, data_.rows.size(), "rows");
  const auto type = [&](int k) { return at(rows.types, k, int{EqualRow}); };
  const auto rhs = [&](int k) { return at(rows.rhs, k, 0.0); };
  checkEach(rows.count, "Row", [&](int k) { checkRow(type(k), rhs(k)); });
  const NewEntries entries = checkedEntries(number, rows.count, rows.labels, rowIndex_);
  addEntries(number, rows.count, entries, rowIndex_);
  const int first = static_cast<int>(data_.rows.size());
  for (int k = 0; k < rows.count; ++k) data_.rows.push_back({type(k), rhs(k) + 0.0, 0.0});
  return first;
}

void ModelBuilder::addCoefficients(int count, const int* rows, const int* columns,
                                   const double* values) {
  checkCount(count, data_.coefficients.size(), "coefficients");
  if (count > 0 && (rows == nullptr || columns == nullptr || values == nullptr)) {
    throw KitError("Rows, columns and values of coefficients must not be null");
  }
  checkEach(count, "Coefficient", [&](int k) {
    checkRowNumber(rows[k]);
    checkedColumn(columns[k]);
    checkFinite(values[k], "A coefficient");
  });
  for (int k = 0; k < count; ++k) data_.coefficients.push_back({rows[k], columns[k], values[k]});
}

void ModelBuilder::checkRowNumber(int row) const {
  if (row >= 0 && row < static_cast<int>(data_.rows.size())) return;
  throw KitError("There is no row " + std::to_string(row));
}

RowData& ModelBuilder::checkedRow(int row) {
  checkRowNumber(row);
  return data_.rows[row];
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
