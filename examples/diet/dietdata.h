// The diet problem's data as a database: two sets and three parameters over them.
#pragma once

#include <array>
#include <string>

#include "zdbcc.hpp"

struct DietData {
  /// Empty symbols.
  DietData();
  /// Those of a data file, whose records are read on first use.
  explicit DietData(const std::string& file);

  /// Fills the symbols from needs.csv and foods.csv in the folder. A content of zero gets no
  /// record. Throws with file and line.
  void readCsv(const std::string& folder) const;
  void write(const std::string& file) const;
  std::array<zdbcc::Symbol, 5> all() const { return {food, nutrient, content, price, need}; }

  zdbcc::Database db;
  zdbcc::Symbol food;      ///< set; the text of a food is the unit that it is sold in
  zdbcc::Symbol nutrient;  ///< set; the text of a nutrient is its unit of measure
  zdbcc::Symbol content;   ///< (food, nutrient): what one dollar's worth of the food holds
  zdbcc::Symbol price;     ///< (food): cents a unit
  zdbcc::Symbol need;      ///< (nutrient): what one adult needs a day
};
