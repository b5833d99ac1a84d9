#pragma once

#include <string>
#include <vector>

#include "console.h"

namespace zdb::tool {

/// A table with an underlined heading; columns are as wide as their longest entry and separated by
/// two blanks; on a terminal that is narrower, texts are cut. Entries are UTF-8; each character
/// counts as one column. Control characters are shown as '?'.
class Table {
 public:
  struct Column {
    std::string heading;
    bool alignRight = false;
  };

  explicit Table(std::vector<Column> columns);
  /// One entry per column.
  void add(const std::vector<std::string>& row);
  void print(Console& console) const;

 private:
  std::vector<std::size_t> fittingWidths(std::size_t most) const;
  std::string line(const std::vector<std::string>& row,
                   const std::vector<std::size_t>& widths) const;

  std::vector<Column> columns_;
  std::vector<std::size_t> widths_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace zdb::tool
