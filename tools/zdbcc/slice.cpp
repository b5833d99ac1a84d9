#include "slice.h"

#include <algorithm>

#include "console.h"
#include "entry.h"

namespace zdb::tool {

Slice readSlice(const ExchangeFile& file, const std::string& text) {
  const Entry entry = parseEntry(text);
  Slice slice;
  slice.symbol = file.symbol(entry.symbol);
  slice.isWhole = entry.labels.empty();
  if (slice.isWhole) return slice;
  if (entry.labels.size() != static_cast<std::size_t>(slice.symbol.dim)) {
    throw ToolError(text + " has " + counted(entry.labels.size(), "label") + ", but " +
                    slice.symbol.name + " has " +
                    counted(static_cast<unsigned>(slice.symbol.dim), "position") +
                    "; * stands for all labels");
  }
  for (std::size_t d = 0; d < entry.labels.size(); ++d) {
    if (entry.labels[d] != "*") slice.labels[d] = file.requireLabel(entry.labels[d]);
  }
  return slice;
}

SliceRecords::SliceRecords(const ExchangeFile& file, const Slice& slice)
    : slice_(slice),
      records_(file, slice.symbol),
      dim_(static_cast<std::size_t>(slice.symbol.dim)) {
  restart();
}

void SliceRecords::restart() {
  fixed_ = 0;
  while (fixed_ < dim_ && slice_.labels[fixed_] != 0) ++fixed_;
  const bool isAtStart = fixed_ == 0 && records_.done() == 0;
  if (!isAtStart) records_.seek({slice_.labels.data(), fixed_});
}

bool SliceRecords::next() {
  while (records_.next()) {
    const int* keys = records_.keys();
    const int* wanted = slice_.labels.data();
    const bool isAfter = std::lexicographical_compare(wanted, wanted + fixed_, keys, keys + fixed_);
    if (isAfter) return false;
    bool isInside = true;
    for (std::size_t d = 0; d < dim_; ++d) {
      isInside = isInside && (wanted[d] == 0 || wanted[d] == keys[d]);
    }
    if (isInside) return true;
  }
  return false;
}

}  // namespace zdb::tool
