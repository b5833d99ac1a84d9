#include "io/datarecords.h"

namespace zdb {

DataRecords::DataRecords(AbstractZDBSymbol& symbol) : dim_(static_cast<std::size_t>(symbol.dim)) {
  const auto records = static_cast<std::size_t>(symbol.size());
  keys_.reserve(records * dim_);
  values_.reserve(records);
  symbol.forEachRecord([this](const int* keys, const double* values) {
    keys_.insert(keys_.end(), keys, keys + dim_);
    values_.push_back(values[0]);
  });
}

int DataRecords::compare(const int* key, std::size_t record) const {
  const int* other = keys_.data() + record * dim_;
  for (std::size_t d = 0; d < dim_; ++d) {
    if (key[d] != other[d]) return key[d] < other[d] ? -1 : 1;
  }
  return 0;
}

std::size_t DataRecords::lowerBound(const int* key) const {
  std::size_t first = 0;
  std::size_t length = values_.size();
  while (length > 0) {
    const std::size_t half = length / 2;
    if (compare(key, first + half) > 0) {
      first += half + 1;
      length -= half + 1;
    } else {
      length = half;
    }
  }
  return first;
}

const double* DataRecords::find(const int* key) {
  const int order = next_ < values_.size() ? compare(key, next_) : -1;
  if (order == 0) return &values_[next_++];
  const bool isBetween = order < 0 && (next_ == 0 || compare(key, next_ - 1) > 0);
  if (isBetween) return nullptr;
  next_ = lowerBound(key);
  if (next_ == values_.size() || compare(key, next_) != 0) return nullptr;
  return &values_[next_++];
}

}  // namespace zdb
