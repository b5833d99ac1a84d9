#pragma once

#include <algorithm>
#include <array>
#include <limits>

#include "core/abstractzdbsymbol.h"
#include "dmap/recordrun.h"

namespace zdb {

/// A slice of a symbol: label numbers per position, 0 where any label will do.
///
/// Records are ordered by key, so those that match the leading fixed positions (the prefix) are
/// adjacent; the other fixed positions are tested record by record.
class Slice {
 public:
  Slice(const int* keys, int dim) : dim_(dim) {
    std::copy_n(keys, dim, keys_.begin());
    while (prefix_ < dim && keys_[prefix_] != 0) ++prefix_;
  }

  const int* keys() const { return keys_.data(); }
  int prefix() const { return prefix_; }

  bool matches(const int* key) const {
    for (int i = 0; i < dim_; ++i) {
      if (keys_[i] != 0 && keys_[i] != key[i]) return false;
    }
    return true;
  }

  /// Whether the record is outside the run of records that share the prefix.
  bool isPast(const int* key) const { return !std::equal(key, key + prefix_, keys_.begin()); }

  /// The same for a record of a run.
  bool matches(const dmap::RecordRun& run, int record) const {
    for (int i = 0; i < dim_; ++i) {
      if (keys_[i] != 0 && keys_[i] != run.label(record, i)) return false;
    }
    return true;
  }
  bool isPast(const dmap::RecordRun& run, int record) const {
    for (int i = 0; i < prefix_; ++i) {
      if (keys_[i] != run.label(record, i)) return true;
    }
    return false;
  }
  /// Whether all records that share the prefix match.
  bool isPrefixOnly() const {
    return std::all_of(keys_.begin() + prefix_, keys_.end(), [](int key) { return key == 0; });
  }

  /// Lower and upper bound of the keys in the run.
  std::array<int, kMaxDim> lowest() const { return filled(std::numeric_limits<int>::min()); }
  std::array<int, kMaxDim> highest() const { return filled(std::numeric_limits<int>::max()); }

 private:
  std::array<int, kMaxDim> filled(int rest) const {
    std::array<int, kMaxDim> key = keys_;
    std::fill(key.begin() + prefix_, key.end(), rest);
    return key;
  }

  std::array<int, kMaxDim> keys_{};
  int dim_;
  int prefix_ = 0;
};

}  // namespace zdb
