// The names of a model: labels, symbols, and the symbol and labels of each row and column.
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
  std::vector<int> entries;  ///< in key order once the dictionary is sorted
};

/// Which symbol each row or column belongs to, and its labels' numbers.
class EntryTable {
 public:
  int count() const { return static_cast<int>(symbols_.size()); }
  /// Numbers of symbols count from 1.
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

/// Labels and symbols count from 1, rows and columns from 0. Memory: 12 bytes a row or column and 4
/// for each label in its key, twice of that for labels.
///
/// The library of the dictionary calls uses what the library of instances made: its functions that
/// are not inline are exported for it.
class __attribute__((visibility("default"))) Dictionary {
 public:
  /// Number of a label, 0 if it is not there. Blanks at its end do not count.
  int findLabel(std::string_view label) const;
  /// Number of a label, which joins if it is new.
  int addLabel(std::string_view label);
  /// Number of a symbol, 0 if it is not there.
  int findSymbol(std::string_view name) const;
  int addSymbol(Symbol symbol);
  /// Adds the next row or column of a symbol.
  void addEntry(int symbol, const int* key);
  void setUserInfo(int symbol, int userInfo) {
    symbols_[static_cast<std::size_t>(symbol) - 1].userInfo = userInfo;
  }
  /// Puts the entries of all symbols into key order. Time n log n, n if they came in that order.
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

/// A walk over the entries of a symbol, in key order, whose keys have the labels that are given; 0
/// stands for any. Entries that share the labels before the first 0 are found by bisection.
class __attribute__((visibility("default"))) EntryWalk {
 public:
  /// A walk that is at its end.
  EntryWalk() = default;
  /// `key` may be null: any labels. The dictionary must outlive the walk.
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
