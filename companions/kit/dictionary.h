// The dictionary of a model: labels, symbols, and the symbol and labels of each row and column.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/names.h"

namespace zdb::kit {

enum SymbolType : int { VariableSymbol = 5, EquationSymbol = 6 };

/// A symbol, and the rows or columns that are its entries.
struct Symbol {
  std::string name;
  std::string text;
  int type = 0;
  int dim = 0;
  int userInfo = 0;
  bool isParameter = false;
  std::vector<int> entries;  ///< in key order after Dictionary::sort()
};

/// The symbol of each row or column, and the numbers of its labels.
class EntryTable {
 public:
  int count() const { return static_cast<int>(symbols_.size()); }
  /// The symbol's number, from 1.
  /// REQUIRES 0 <= entry < count().
  int symbol(int entry) const { return symbols_[static_cast<std::size_t>(entry)]; }
  const int* key(int entry) const {
    return keys_.data() + starts_[static_cast<std::size_t>(entry)];
  }
  void add(int symbol, const int* key, int dim);

 private:
  std::vector<int> symbols_;
  std::vector<std::size_t> starts_;
  std::vector<int> keys_;
};

/// Labels and symbols count from 1, rows and columns from 0. Memory: 16 bytes for each row or
/// column, 4 for each label in its key.
///
/// The library of the dictionary functions uses dictionaries made by the library of instances,
/// which exports the functions that are not inline for it.
class __attribute__((visibility("default"))) Dictionary {
 public:
  /// The number of a label, 0 for an unknown one. Trailing blanks are ignored.
  int findLabel(std::string_view label) const;
  /// The number of a label, which is added if it is new.
  int addLabel(std::string_view label);
  /// The number of a symbol, 0 for an unknown one.
  int findSymbol(std::string_view name) const;
  int addSymbol(Symbol symbol);
  /// Adds the next row or column of a symbol.
  void addEntry(int symbol, const int* key);
  void setUserInfo(int symbol, int userInfo) {
    symbols_[static_cast<std::size_t>(symbol) - 1].userInfo = userInfo;
  }
  /// Sorts the entries of all symbols by key. O(n log n), or O(n) if they were added in that order.
  void sort();

  int labelCount() const { return static_cast<int>(labels_.size()); }
  int symbolCount() const { return static_cast<int>(symbols_.size()); }
  bool hasLabel(int number) const { return number >= 1 && number <= labelCount(); }
  bool hasSymbol(int number) const { return number >= 1 && number <= symbolCount(); }
  const std::string& label(int number) const {
    return labels_[static_cast<std::size_t>(number) - 1];
  }
  const Symbol& symbol(int number) const { return symbols_[static_cast<std::size_t>(number) - 1]; }

  const EntryTable& rows() const { return rows_; }
  const EntryTable& columns() const { return columns_; }
  const EntryTable& entriesOf(const Symbol& symbol) const {
    return symbol.type == VariableSymbol ? columns_ : rows_;
  }

  /// "symbol(label,label)".
  std::string rowName(int row) const { return nameOf(rows_, row); }
  std::string columnName(int column) const { return nameOf(columns_, column); }
  std::string entryName(int symbol, const int* key) const;

 private:
  std::string nameOf(const EntryTable& table, int entry) const;

  std::vector<std::string> labels_;
  std::vector<Symbol> symbols_;
  NumberByName labelNumbers_;
  NumberByName symbolNumbers_;
  EntryTable rows_;
  EntryTable columns_;
};

/// A cursor over the entries of a symbol whose keys have the given labels, in key order; 0 stands
/// for any label. The range with the labels before the first 0 is found by bisection.
class __attribute__((visibility("default"))) EntryWalk {
 public:
  /// A cursor at its end.
  EntryWalk() = default;
  /// A null key means any labels.
  /// REQUIRES the dictionary outlives the cursor.
  EntryWalk(const Dictionary& dictionary, int symbol, const int* key);

  /// The next row or column, -1 at the end.
  int next() {
    while (position_ < end_) {
      const int entry = symbol_->entries[position_++];
      if (!isFiltered_ || matches(entry)) return entry;
    }
    return -1;
  }

 private:
  bool matches(int entry) const;

  const Symbol* symbol_ = nullptr;
  const EntryTable* table_ = nullptr;
  std::size_t position_ = 0;
  std::size_t end_ = 0;
  bool isFiltered_ = false;
  int key_[kMaxDim] = {};
};

}  // namespace zdb::kit
