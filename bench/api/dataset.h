#pragma once

#include <array>
#include <string>
#include <vector>

/// One million records with keys of three labels, 400 labels per position, and one double each.
struct Dataset {
  static constexpr int kRecords = 1000000;
  static constexpr int kLabels = 400;  ///< per position; numbers continue from one to the next

  std::vector<std::string> labels;                   ///< text of label number i at i - 1
  std::vector<std::array<int, 3>> keys;              ///< in key order
  std::vector<double> values;                        ///< of the records in key order
  std::vector<std::array<const char*, 3>> texts;     ///< of the keys, in key order
  std::vector<std::array<const char*, 3>> shuffled;  ///< the same in random order
};

/// Made on first use; the same in every run.
const Dataset& dataset();
