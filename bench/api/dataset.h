#pragma once

#include <array>
#include <string>
#include <vector>

/// One million records with three-part keys, 400 labels a position, one double each.
struct Dataset {
  static constexpr int kRecords = 1000000;
  static constexpr int kLabels = 400;  ///< a position; label numbers go on from one to the next

  std::vector<std::string> labels;                   ///< text of label number i at i - 1
  std::vector<std::array<int, 3>> keys;              ///< in key order
  std::vector<double> values;                        ///< of the records in key order
  std::vector<std::array<const char*, 3>> texts;     ///< of the keys, in key order
  std::vector<std::array<const char*, 3>> shuffled;  ///< the same in random order
};

/// Made on first use, the same in every run.
const Dataset& dataset();
