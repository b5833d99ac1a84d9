#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "exchangefile.h"

namespace zdb::tool {

/// New numbers, from 1, for the labels of a file.
struct LabelNumbers {
  std::vector<int> byOwn{0};  ///< by the file's own number; 0 for a label that gets none
  bool keepsOrder = true;     ///< so records that are in order stay so

  /// Makes keepsOrder true or false.
  void findOrder();
};

/// The labels of several files in one order, which is that of the first file. Labels that it
/// lacks stand before the next one that it has, so that the order of the other files is kept as
/// well, where that is possible. Takes linear time, and some 30 bytes for each label.
class LabelOrder {
 public:
  explicit LabelOrder(const std::vector<const ExchangeFile*>& files);

  int count() const { return static_cast<int>(places_.size()); }
  /// The label of a new number, as the first file that has it spells it.
  /// REQUIRES 1 <= number <= count().
  std::string_view label(int number) const;
  const LabelNumbers& numbers(std::size_t file) const { return numbers_[file]; }

 private:
  struct Place {
    std::uint32_t file;
    int number;
  };

  std::vector<const ExchangeFile*> files_;
  std::vector<Place> places_;
  std::vector<LabelNumbers> numbers_;
};

}  // namespace zdb::tool
