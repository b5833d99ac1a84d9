#pragma once

#include <cstddef>
#include <vector>

namespace zdb {

/// The number that each label of a source has in the database.
///
/// The two agree unless the database had labels before, so nothing is kept until they differ.
class LabelNumbers {
 public:
  /// The next label of the source, counted from 1, has this number in the database.
  void add(int number) {
    if (numbers_.empty()) {
      if (number == next_) {
        ++next_;
        return;
      }
      for (int i = 0; i < next_; ++i) numbers_.push_back(i);
    }
    numbers_.push_back(number);
  }

  /// Whether every label has its own number here.
  bool areSame() const { return numbers_.empty(); }

  /// Turns the source's numbers into the database's, in place; false for one that the source does
  /// not have. Does nothing while they are the same.
  bool translate(int* key, int dim) const {
    for (int d = 0; d < dim && !areSame(); ++d) {
      const auto number = static_cast<std::size_t>(key[d]);  // negative: beyond every label
      if (number >= numbers_.size()) return false;
      key[d] = numbers_[number];
    }
    return true;
  }

 private:
  int next_ = 1;              ///< while they are the same
  std::vector<int> numbers_;  ///< by the source's number, 0 included; empty: the same
};

}  // namespace zdb
