#include "orderedrecords.h"

#include <algorithm>

namespace zdb::tool {

OrderedRecords::OrderedRecords(ExchangeFile& file, const FileSymbol& symbol,
                               const LabelNumbers& numbers, Progress& progress,
                               std::uint64_t& total)
    : file_(file),
      numbers_(numbers),
      dim_(static_cast<std::size_t>(symbol.dim)),
      width_(static_cast<std::size_t>(symbol.valueCount())) {
  if (numbers.keepsOrder || comeInOrder(symbol, progress, total)) {
    stream_.emplace(file, symbol);
    values_ = stream_->values();
  } else {
    sort(symbol, progress, total);
    values_ = sorter_->values();
  }
}

bool OrderedRecords::comeInOrder(const FileSymbol& symbol, Progress& progress,
                                 std::uint64_t& total) {
  stream_.emplace(file_, symbol);
  std::array<int, ZDB_MAX_DIM> last{};
  bool isInOrder = true;
  while (isInOrder && nextOfStream()) {
    progress.step(++total);
    isInOrder =
        stream_->done() == 1 || std::lexicographical_compare(last.begin(), last.begin() + dim_,
                                                             keys_.begin(), keys_.begin() + dim_);
    last = keys_;
  }
  stream_.reset();
  return isInOrder;
}

void OrderedRecords::sort(const FileSymbol& symbol, Progress& progress, std::uint64_t& total) {
  const int largest = *std::max_element(numbers_.byOwn.begin(), numbers_.byOwn.end());
  sorter_.emplace(dim_, width_, largest);
  stream_.emplace(file_, symbol);
  while (nextOfStream()) {
    sorter_->add(keys_.data(), stream_->values());
    progress.step(++total);
  }
  stream_.reset();
  sorter_->sort();
}

bool OrderedRecords::nextOfSorted() {
  if (!sorter_->next()) return false;
  std::copy_n(sorter_->keys(), dim_, keys_.data());
  return true;
}

}  // namespace zdb::tool
