// Builds a model step by step, for a host or from a file.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "kit/modeldata.h"

namespace zdb::kit {

/// Finds the rows or columns of a table by symbol and labels.
class EntryIndex {
 public:
  bool has(const EntryTable& table, int symbol, const int* key, int dim) const;
  void add(int entry, int symbol, const int* key, int dim);

 private:
  std::unordered_multimap<std::size_t, int> entries_;  ///< by a hash of symbol and labels
};

/// Checks and collects the parts of a model. A call that throws a KitError changes nothing; after a
/// std::bad_alloc the builder is unusable. Each add function returns the number of what it adds.
class ModelBuilder {
 public:
  explicit ModelBuilder(std::string name) { data_.name = std::move(name); }
  ModelBuilder(const ModelBuilder&) = delete;
  ModelBuilder& operator=(const ModelBuilder&) = delete;

  int addSymbol(std::string_view name, int type, int dim, std::string_view text, int userInfo);
  int addColumn(int number, const char* const* labels, double lower, double upper, double level);
  int addRow(int number, const char* const* labels, int type, double rhs);
  void setInteger(int column, bool isInteger);
  void addCoefficient(int row, int column, double value);
  void addProduct(int row, int column1, int column2, double value);
  void addConstant(int row, double value);
  /// Makes the right-hand side of a row the level of a parameter. Unlike a term of the parameter,
  /// it does not count for the level of the row.
  /// REQUIRES that the column is a parameter and the row has no such link.
  void linkRhs(int row, int column) { data_.rhsLinks.push_back({row, column}); }
  /// Makes a coefficient one that can be set in the instance.
  /// REQUIRES that the column is no parameter.
  void openPlace(int row, int column) { data_.openPlaces.push_back({row, column}); }
  void setObjective(int column, int direction);

  const ModelData& data() const { return data_; }

 private:
  const Symbol& checkedSymbol(int number, int type) const;
  using Key = std::array<int, kMaxDim>;
  void addEntry(int number, const char* const* labels, EntryIndex& known);
  RowData& checkedRow(int row);
  ColumnData& checkedColumn(int column);
  std::string columnName(int column) const { return data_.dictionary.columnName(column); }

  ModelData data_;
  EntryIndex columnIndex_;
  EntryIndex rowIndex_;
};

}  // namespace zdb::kit
