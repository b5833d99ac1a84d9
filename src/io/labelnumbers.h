#pragma once

#include <cstddef>
#include <vector>

namespace zdb {

/// The number that each label of a source has in the database.
///
/// The numbers are the same unless the database had labels before, so nothing is stored until
/// they differ.
class LabelNumbers {
 public:
  /// Sets the number that the next label of the source, counted from 1, has in the database.
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

  /// Whether every label has the same number in both.
  bool areSame() const { return numbers_.empty(); }

  /// Translates the source's numbers to the database's, in place; false for a number that the
  /// source does not have. Does nothing while they are the same.
  bool translate(int* key, int dim) const {
    for (int d = 0; d < dim && !areSame(); ++d) {
      const auto number = static_cast<std::size_t>(key[d]);  // a negative number becomes too large
      if (number >= numbers_.size()) return false;
      key[d] = numbers_[number];
    }
    return true;
  }

 private:
  int next_ = 1;              ///< next label number, while all are the same
  std::vector<int> numbers_;  ///< by the source's number, from 0; empty if all are the same
};

}  // namespace zdb
