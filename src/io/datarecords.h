#pragma once

#include <cstddef>
#include <vector>

#include "core/abstractzdbsymbol.h"

namespace zdb {

/// The keys and first values of a symbol's records, for many lookups by label numbers in a row.
///
/// Asking in key order, which is what a model's dictionary does, costs a comparison or two; any
/// other order a binary search. Made in time and memory of the symbol's records, whatever storage
/// keeps them.
class DataRecords {
 public:
  explicit DataRecords(AbstractZDBSymbol& symbol);

  int count() const { return static_cast<int>(values_.size()); }
  /// The value of the record with this key, or null.
  const double* find(const int* key);

 private:
  int compare(const int* key, std::size_t record) const;
  std::size_t lowerBound(const int* key) const;

  std::size_t dim_;
  std::vector<int> keys_;
  std::vector<double> values_;
  std::size_t next_ = 0;  ///< behind the record that was found last
};

}  // namespace zdb
