#include "recordsorter.h"

#include <algorithm>
#include <bit>

#include "exitcode.h"
#include "interrupt.h"

namespace zdb::tool {

namespace {

constexpr std::size_t kMemory = std::size_t{32} << 20;
/// Less would be read at a time too slowly; reached with thousands of pieces.
constexpr std::size_t kLeastBuffer = std::size_t{4} << 10;
/// More at a time would be no faster.
constexpr std::size_t kMostBuffer = std::size_t{256} << 10;
constexpr unsigned kWordBits = 64;

}  // namespace

RecordSorter::RecordSorter(std::size_t dim, std::size_t width, int largest)
    : dim_(dim),
      width_(width),
      bits_(std::max(1U, static_cast<unsigned>(std::bit_width(static_cast<unsigned>(largest))))),
      labelsInWord_(kWordBits / bits_),
      keyWords_((dim + labelsInWord_ - 1) / labelsInWord_),
      rowWords_(keyWords_ + width),
      mostRows_(kMemory / (rowWords_ * sizeof(std::uint64_t) + sizeof(Entry))) {
  // Growing would take twice as much now and then; what is reserved and not used costs nothing.
  rows_.reserve(mostRows_ * rowWords_);
  order_.reserve(mostRows_);
}

void RecordSorter::add(const int* keys, const double* values) {
  if (order_.size() == mostRows_) spill();
  const std::size_t begin = rows_.size();
  for (std::size_t d = 0; d < dim_; ++d) {
    if (d % labelsInWord_ == 0) rows_.push_back(0);
    rows_.back() = rows_.back() << bits_ | static_cast<unsigned>(keys[d]);
  }
  for (std::size_t v = 0; v < width_; ++v) rows_.push_back(std::bit_cast<std::uint64_t>(values[v]));
  order_.push_back({rows_[begin], static_cast<std::uint32_t>(order_.size())});
}

bool RecordSorter::isLess(Row a, Row b) const {
  return std::lexicographical_compare(a, a + keyWords_, b, b + keyWords_);
}

void RecordSorter::sortRows() {
  std::sort(order_.begin(), order_.end(), [this](const Entry& a, const Entry& b) {
    if (a.firstWord != b.firstWord || keyWords_ < 2) return a.firstWord < b.firstWord;
    return isLess(rowOf(a), rowOf(b));
  });
}

/// Moves what is in memory to the file.
void RecordSorter::spill() {
  constexpr std::size_t kBufferWords = std::size_t{1} << 13;
  if (Interrupt::isRequested()) throw InterruptedError();
  if (!file_) file_.emplace();
  sortRows();
  pieces_.push_back({file_->size(), order_.size(), {}});
  std::vector<std::uint64_t> buffer;
  buffer.reserve(kBufferWords + rowWords_);
  for (const Entry& entry : order_) {
    buffer.insert(buffer.end(), rowOf(entry), rowOf(entry) + rowWords_);
    if (buffer.size() < kBufferWords) continue;
    file_->append(std::as_bytes(std::span(buffer)));
    buffer.clear();
  }
  file_->append(std::as_bytes(std::span(buffer)));
  rows_.clear();
  order_.clear();
}

void RecordSorter::sort() {
  if (pieces_.empty()) return sortRows();
  spill();
  rows_.shrink_to_fit();
  order_.shrink_to_fit();
  startMerge();
}

void RecordSorter::startMerge() {
  const std::size_t bytes = std::clamp(kMemory / pieces_.size(), kLeastBuffer, kMostBuffer);
  bufferRows_ = std::max<std::size_t>(1, bytes / (rowWords_ * sizeof(std::uint64_t)));
  for (Piece& piece : pieces_) {
    if (fill(piece)) heap_.push_back(&piece);
  }
  std::make_heap(heap_.begin(), heap_.end(),
                 [this](const Piece* a, const Piece* b) { return isLess(rowOf(*b), rowOf(*a)); });
}

/// Reads the next rows of a piece; false if there are none.
bool RecordSorter::fill(Piece& piece) const {
  const auto rows =
      static_cast<std::size_t>(std::min<std::uint64_t>(bufferRows_, piece.rowsInFile));
  piece.buffer.resize(rows * rowWords_);
  piece.at = 0;
  const auto bytes = std::as_writable_bytes(std::span(piece.buffer));
  file_->read(piece.place, bytes);
  piece.place += bytes.size();
  piece.rowsInFile -= rows;
  return rows > 0;
}

bool RecordSorter::next() {
  if (file_) return nextOfPieces();
  if (at_ == order_.size()) return false;
  take(rowOf(order_[at_++]));
  return true;
}

bool RecordSorter::nextOfPieces() {
  const auto isLater = [this](const Piece* a, const Piece* b) {
    return isLess(rowOf(*b), rowOf(*a));
  };
  if (heap_.empty()) return false;
  std::pop_heap(heap_.begin(), heap_.end(), isLater);
  Piece& least = *heap_.back();
  take(rowOf(least));
  least.at += rowWords_;
  if (least.at < least.buffer.size() || fill(least)) {
    std::push_heap(heap_.begin(), heap_.end(), isLater);
  } else {
    heap_.pop_back();
  }
  return true;
}

void RecordSorter::take(Row row) {
  for (std::size_t word = 0; word < keyWords_; ++word) {
    const std::size_t first = word * labelsInWord_;
    std::uint64_t labels = row[word];
    for (std::size_t d = std::min(dim_, first + labelsInWord_); d-- > first;) {
      keys_[d] = static_cast<int>(labels & ((std::uint64_t{1} << bits_) - 1));
      labels >>= bits_;
    }
  }
  for (std::size_t v = 0; v < width_; ++v) values_[v] = std::bit_cast<double>(row[keyWords_ + v]);
}

}  // namespace zdb::tool
