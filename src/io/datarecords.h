#pragma once

#include <cstddef>
#include <vector>

#include "core/abstractzdbsymbol.h"

namespace zdb {

/// The keys and first values of a symbol's records, for many look-ups by label numbers in a row.
///
/// A look-up costs a comparison or two in key order, which is the order of a model's dictionary,
/// and a binary search otherwise. Making the object takes time and memory in the number of records,
/// whatever their storage.
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
  std::size_t next_ = 0;  ///< index after that of the last record found
};

}  // namespace zdb
