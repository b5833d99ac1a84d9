#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "zdbcc.hpp"

/// Ends the program unless `holds` is true: a figure for a failed call would be worthless.
void require(bool holds, const char* what);

/// Records of three labels and a double by the column; label numbers are 1 to 400 in the first
/// position, 401 to 800 in the second and 801 to 1200 in the third.
struct Columns {
  static constexpr int kLabels = 400;

  std::array<std::vector<int>, 3> keys;
  std::vector<double> values;

  std::size_t size() const { return values.size(); }
  std::array<int, 3> key(std::size_t row) const {
    return {keys[0][row], keys[1][row], keys[2][row]};
  }
  /// As the bulk interface takes them, the rows from `from` on.
  zdbx_columns view(std::size_t from, std::size_t count) const;
  zdbx_columns view() const { return view(0, size()); }
};

/// Records in key order, evenly spread over the cube of keys, or the same in random order. Made on
/// first use; the same in every run.
const Columns& sortedColumns(std::size_t records);
const Columns& shuffledColumns(std::size_t records);

/// A database with the labels and an empty symbol with the given storage.
class Target {
 public:
  explicit Target(int storage);

  void put(const zdbx_columns& records);
  zdbHandle_t db() const { return db_.handle(); }
  zdbSymbol_t symbol() const { return symbol_.handle(); }

 private:
  zdbcc::Database db_;
  zdbcc::Symbol symbol_;
};
