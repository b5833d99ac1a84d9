// Counting and reading records by the column.
#include <algorithm>
#include <numeric>

#include "symbols/bulk.h"
#include "symbols/columnwriter.h"
#include "symbols/recordplacing.h"
#include "symbols/slice.h"
#include "symbols/withrecords.h"

namespace zdb {

namespace {

constexpr std::array<int, kMaxDim> kAnything{};

/// The number of records at the front of the run that share the prefix of the slice.
int countInside(const dmap::RecordRun& run, const Slice& slice) {
  int low = 0;
  for (int length = run.count; length > 0;) {
    const int half = (length + 1) / 2;
    if (!slice.isPast(run, low + half - 1)) low += half;
    length -= half;
  }
  return low;
}

/// Passes the records of a slice to `take(run, from, count)`, in key order and as long as that
/// returns true: those from `at` on.
template <class Map, class It, class Take>
void walkSlice(Map& records, It at, const Slice& slice, Take take) {
  dmap::RunBuffer buffer;
  for (;;) {
    const dmap::RecordRun run = records.nextRun(at, buffer);
    if (run.count == 0) return;
    const int inside = slice.prefix() == 0 ? run.count : countInside(run, slice);
    for (int from = 0; from < inside;) {
      int end = inside;
      if (!slice.isPrefixOnly()) {
        while (from < inside && !slice.matches(run, from)) ++from;
        end = from;
        while (end < inside && slice.matches(run, end)) ++end;
      }
      if (end > from && !take(run.part(from, end - from))) return;
      from = end;
    }
    if (inside < run.count) return;
  }
}

template <class Map>
auto startOf(Map& records, const Slice& slice, const int* after) {
  if (after == nullptr) {
    return slice.prefix() == 0 ? records.begin() : firstNotLess(records, slice.lowest().data());
  }
  if (records.getDim() == 0) return records.end();
  auto at = firstNotLess(records, after);
  if (at != records.end() && std::equal(after, after + records.getDim(), (*at).first)) ++at;
  return at;
}

/// The labels of the universe, from number `first` on, as runs.
template <class Take>
void walkLabels(int first, int last, Take take) {
  int numbers[dmap::RunBuffer::kRecords];
  dmap::RecordRun run;
  run.keys = numbers;
  run.keyStep = 1;
  for (std::int64_t at = first; at <= last; at += run.count) {
    run.count = static_cast<int>(std::min<std::int64_t>(last - at + 1, std::size(numbers)));
    std::iota(numbers, numbers + run.count, static_cast<int>(at));
    if (!take(run)) return;
  }
}

template <class Take>
void walk(const ZDB& db, AbstractZDBSymbol& symbol, const int* slice, const int* after, Take take) {
  if (symbol.isUniverse()) {
    const bool isOne = slice != nullptr && slice[0] != 0;
    const int first = std::max(isOne ? slice[0] : 1, after == nullptr ? 1 : *after + 1);
    return walkLabels(first, isOne ? std::min(slice[0], db.highestLabel()) : db.highestLabel(),
                      take);
  }
  const Slice walked(slice == nullptr ? kAnything.data() : slice, symbol.dim);
  withRecords(symbol, [&](auto& typed) {
    walkSlice(typed.records(), startOf(typed.records(), walked, after), walked, take);
  });
}

}  // namespace

std::int64_t countRecords(ZDB& db, AbstractZDBSymbol& symbol, const int* slice) {
  const bool isWhole =
      slice == nullptr || std::all_of(slice, slice + symbol.dim, [](int n) { return n == 0; });
  if (isWhole) return symbol.isUniverse() ? db.highestLabel() : symbol.size();
  std::int64_t count = 0;
  walk(db, symbol, slice, nullptr, [&](const dmap::RecordRun& run) {
    count += run.count;
    return true;
  });
  return count;
}

std::int64_t readRecords(ZDB& db, AbstractZDBSymbol& symbol, const int* slice, const int* after,
                         const RecordBuffers& buffers, int* last) {
  ColumnWriter writer(db, symbol, buffers);
  if (buffers.rows == 0) return 0;
  std::array<int, kMaxDim> key{};
  walk(db, symbol, slice, after, [&](const dmap::RecordRun& run) {
    const std::int64_t room = buffers.rows - writer.written();
    const int count = static_cast<int>(std::min<std::int64_t>(run.count, room));
    writer.write(run.part(0, count));
    for (int i = 0; i < symbol.dim; ++i) key[static_cast<std::size_t>(i)] = run.label(count - 1, i);
    return count < room;
  });
  if (last != nullptr && writer.written() > 0) std::copy_n(key.data(), symbol.dim, last);
  return writer.written();
}

RecordCursor::RecordCursor(AbstractZDBSymbol& symbol, const int* slice)
    : symbol_(symbol), notes_(symbol.handleNotes) {
  if (slice == nullptr) return;
  slice_.emplace();
  std::copy_n(slice, symbol.dim, slice_->data());
}

std::int64_t RecordCursor::read(ZDB& db, const RecordBuffers& buffers) {
  std::array<int, kMaxDim> last{};
  const std::int64_t count = readRecords(db, symbol_, slice_ ? slice_->data() : nullptr,
                                         last_ ? last_->data() : nullptr, buffers, last.data());
  if (count > 0) last_ = last;
  return count;
}

}  // namespace zdb
