#include "orderedrecords.h"

#include <algorithm>
#include <numeric>

namespace zdb::tool {

OrderedRecords::OrderedRecords(ExchangeFile& file, const FileSymbol& symbol,
                               const LabelNumbers& numbers)
    : file_(file),
      numbers_(numbers),
      dim_(static_cast<std::size_t>(symbol.dim)),
      width_(static_cast<std::size_t>(symbol.valueCount())) {
  if (numbers.keepsOrder || comeInOrder(symbol)) {
    stream_.emplace(file, symbol);
    values_ = stream_->values();
  } else {
    load(symbol);
  }
}

bool OrderedRecords::comeInOrder(const FileSymbol& symbol) {
  stream_.emplace(file_, symbol);
  std::array<int, ZDB_MAX_DIM> last{};
  bool isInOrder = true;
  while (isInOrder && nextOfStream()) {
    isInOrder =
        stream_->done() == 1 || std::lexicographical_compare(last.begin(), last.begin() + dim_,
                                                             keys_.begin(), keys_.begin() + dim_);
    last = keys_;
  }
  stream_.reset();
  return isInOrder;
}

void OrderedRecords::load(const FileSymbol& symbol) {
  loadedKeys_.reserve(dim_ * symbol.recordCount);
  loadedValues_.reserve(width_ * symbol.recordCount);
  stream_.emplace(file_, symbol);
  while (nextOfStream()) {
    loadedKeys_.insert(loadedKeys_.end(), keys_.begin(), keys_.begin() + dim_);
    loadedValues_.insert(loadedValues_.end(), stream_->values(), stream_->values() + width_);
  }
  stream_.reset();
  order_.resize(loadedValues_.size() / width_);
  std::iota(order_.begin(), order_.end(), 0U);
  std::sort(order_.begin(), order_.end(), [this](std::uint32_t a, std::uint32_t b) {
    const int* rowA = loadedKeys_.data() + a * dim_;
    const int* rowB = loadedKeys_.data() + b * dim_;
    return std::lexicographical_compare(rowA, rowA + dim_, rowB, rowB + dim_);
  });
}

bool OrderedRecords::nextOfLoaded() {
  if (at_ == order_.size()) return false;
  const std::size_t row = order_[at_++];
  std::copy_n(loadedKeys_.data() + row * dim_, dim_, keys_.data());
  values_ = loadedValues_.data() + row * width_;
  return true;
}

}  // namespace zdb::tool
