// Builds a model step by step, for a host or from a file.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

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

/// Columns to be added at once. Null: bounds 0 and infinity, level 0, no coefficients.
struct ColumnArrays {
  int count = 0;
  const char* const* labels = nullptr;  ///< of each column one after the other, as of those below
  const double* lower = nullptr;
  const double* upper = nullptr;
  const double* level = nullptr;
  const int* starts =
      nullptr;  ///< count + 1: coefficients of column k are [starts[k], starts[k + 1])
  const int* rows = nullptr;
  const double* values = nullptr;
};

/// Rows to be added at once. Null: equations, right-hand side 0.
struct RowArrays {
  int count = 0;
  const char* const* labels = nullptr;
  const int* types = nullptr;
  const double* rhs = nullptr;
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
  /// All of them or, with a KitError, none. Return the number of the first.
  int addColumns(int number, const ColumnArrays& columns);
  int addRows(int number, const RowArrays& rows);
  void addCoefficients(int count, const int* rows, const int* columns, const double* values);
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
  /// The keys of new entries, with the numbers that new labels get when these are added in order.
  struct NewEntries {
    std::vector<int> keys;
    std::vector<std::string_view> labels;  ///< that are new
  };
  NewEntries checkedEntries(int number, int count, const char* const* labels,
                            const EntryIndex& known) const;
  void addEntries(int number, int count, const NewEntries& entries, EntryIndex& known);
  void checkCoefficients(const ColumnArrays& columns) const;
  void checkRowNumber(int row) const;
  RowData& checkedRow(int row);
  ColumnData& checkedColumn(int column);
  std::string columnName(int column) const { return data_.dictionary.columnName(column); }

  ModelData data_;
  EntryIndex columnIndex_;
  EntryIndex rowIndex_;
};

}  // namespace zdb::kit
