#include "symbols/sortrows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace zdb {

namespace {

struct Entry {
  std::uint64_t key;
  std::int32_t row;
};

constexpr int kDigit = 11;  ///< bits per pass: counters for all digits fit the first-level cache
constexpr std::size_t kDigits = std::size_t{1} << kDigit;

/// Sorts by one digit of the key, stable.
void sortByDigit(const Entry* from, std::size_t count, int shift, Entry* to) {
  std::array<std::uint32_t, kDigits> starts{};
  const auto digit = [shift](const Entry& entry) { return entry.key >> shift & (kDigits - 1); };
  for (std::size_t i = 0; i < count; ++i) ++starts[digit(from[i])];
  std::uint32_t start = 0;
  for (std::uint32_t& counter : starts) start += std::exchange(counter, start);
  for (std::size_t i = 0; i < count; ++i) to[starts[digit(from[i])]++] = from[i];
}

void insertionSort(Entry* entries, std::size_t count) {
  for (std::size_t i = 1; i < count; ++i) {
    const Entry entry = entries[i];
    std::size_t place = i;
    for (; place > 0 && entries[place - 1].key > entry.key; --place) {
      entries[place] = entries[place - 1];
    }
    entries[place] = entry;
  }
}

/// Sorts by the `bits` low bits of the key, stable. Uses both arrays and leaves the result
/// in the first.
void sortByKey(std::unique_ptr<Entry[]>& entries, std::unique_ptr<Entry[]>& spare,
               std::size_t count, int bits) {
  constexpr std::size_t kFew = 32;  // for which counters would cost more than comparisons
  if (count <= kFew) return insertionSort(entries.get(), count);
  for (int shift = 0; shift < bits; shift += kDigit) {
    sortByDigit(entries.get(), count, shift, spare.get());
    std::swap(entries, spare);
  }
}

using Words = std::unique_ptr<std::uint64_t[]>;

/// The key and the number of each row as words that can be sorted.
PackedRows pack(const ColumnReader& columns, const RowList& list, int labelBits, int rowBits) {
  PackedRows packed{
      std::make_unique_for_overwrite<std::uint64_t[]>(static_cast<std::size_t>(list.count)),
      labelBits, rowBits};
  std::uint64_t* word = packed.words.get();
  int keys[ColumnReader::kBlock * kMaxDim];
  for (std::int64_t from = 0; from < list.count; from += ColumnReader::kBlock) {
    const int count =
        static_cast<int>(std::min<std::int64_t>(ColumnReader::kBlock, list.count - from));
    columns.keys(list, from, count, keys);
    const int* label = keys;
    for (int i = 0; i < count; ++i) {
      std::uint64_t key = 0;
      for (int position = 0; position < columns.dim(); ++position) {
        key = key << labelBits | static_cast<std::uint32_t>(*label++);
      }
      *word++ = key << rowBits | static_cast<std::uint64_t>(list[from + i]);
    }
  }
  return packed;
}

/// Sorts words by the bits from `low` on, of which there are `bits`, stable.
void sortWords(Words& words, std::size_t count, int low, int bits) {
  const int passes = (bits + kDigit - 1) / kDigit;
  const int digit = (bits + passes - 1) / passes;
  const std::uint64_t mask = (std::uint64_t{1} << digit) - 1;
  auto spare = std::make_unique_for_overwrite<std::uint64_t[]>(count);
  for (int shift = low; shift < low + bits; shift += digit) {
    std::array<std::uint32_t, kDigits> starts{};
    for (std::size_t i = 0; i < count; ++i) ++starts[words[i] >> shift & mask];
    std::uint32_t start = 0;
    for (std::uint32_t& counter : starts) start += std::exchange(counter, start);
    for (std::size_t i = 0; i < count; ++i) spare[starts[words[i] >> shift & mask]++] = words[i];
    std::swap(words, spare);
  }
}

/// Sorts keys that fit one word with the number of their row, as most do.
bool sortPacked(const ColumnReader& columns, int labelBits, RowList& list) {
  constexpr std::int64_t kFew = 1024;  // for which the counters would cost more
  const int rowBits = std::bit_width(static_cast<unsigned>(list[list.count - 1]));
  const int keyBits = columns.dim() * labelBits;
  if (list.count < kFew || keyBits + rowBits > 64) return false;
  PackedRows packed = pack(columns, list, labelBits, rowBits);
  sortWords(packed.words, static_cast<std::size_t>(list.count), rowBits, keyBits);
  list.packed = std::move(packed);
  list.rows.reset();
  return true;
}

}  // namespace

void sortRows(const ColumnReader& columns, int highestLabel, RowList& list) {
  if (list.count < 2 || columns.dim() == 0) return;
  const auto count = static_cast<std::size_t>(list.count);
  const int labelBits = std::bit_width(static_cast<unsigned>(highestLabel));
  if (sortPacked(columns, labelBits, list)) return;
  const int perKey = 64 / labelBits;  // at least 2
  auto entries = std::make_unique_for_overwrite<Entry[]>(count);
  auto spare = std::make_unique_for_overwrite<Entry[]>(count);
  std::unique_ptr<std::int32_t[]> rows;
  if (list.rows == nullptr) rows = std::make_unique_for_overwrite<std::int32_t[]>(count);
  for (std::size_t i = 0; i < count; ++i) {
    entries[i].row = static_cast<std::int32_t>(list[static_cast<std::int64_t>(i)]);
  }
  // From the last positions to the first: each sort keeps the order of those before it.
  for (int end = columns.dim(); end > 0; end -= perKey) {
    const int begin = std::max(0, end - perKey);
    for (std::size_t i = 0; i < count; ++i) {
      std::uint64_t key = 0;
      for (int position = begin; position < end; ++position) {
        key =
            key << labelBits | static_cast<std::uint32_t>(columns.label(entries[i].row, position));
      }
      entries[i].key = key;
    }
    sortByKey(entries, spare, count, (end - begin) * labelBits);
  }
  if (rows != nullptr) list.rows = std::move(rows);
  for (std::size_t i = 0; i < count; ++i) list.rows[i] = entries[i].row;
}

}  // namespace zdb
