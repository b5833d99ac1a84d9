#include "dmap/keysearch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

#include "dmap/keywords.h"
#include "dmap/tagmatch.h"

namespace zdb::dmap {

namespace {

/// The number of steps depends on the count only, and no comparison is a branch, since none could
/// be predicted. The price is that the processor cannot run ahead; prefetching both keys that the
/// next step may need makes up for it.
template <int N>
int countBelowIn(const int* keys, int count, const int* key) {
  const KeyWords<N> words(key);
  unsigned low = 0;
  for (auto length = static_cast<unsigned>(count); length > 0;) {
    const unsigned half = (length + 1) / 2;
    const int* middle = keys + std::size_t{low + half - 1} * N;
    length -= half;
    memory::prefetch(keys + std::size_t{low + length / 2} * N);
    memory::prefetch(middle + std::size_t{length / 2 + 1} * N);
    // Arithmetic, so that the compiler does not turn it into a branch.
    low += half & (0U - static_cast<unsigned>(words.isAfter(middle)));
  }
  return static_cast<int>(low);
}

/// The same for several keys, step by step, so that they wait for memory together. Nothing is
/// prefetched: each step has as many accesses under way as there are keys.
template <int N>
void countBelowManyIn(const int* keys, int count, const int* sought, int soughtCount, int* below) {
  KeyWords<N> words[KeySearch::kGroup];
  for (int i = 0; i < soughtCount; ++i) words[i] = KeyWords<N>(sought + std::ptrdiff_t{i} * N);
  std::fill_n(below, soughtCount, 0);
  for (int length = count; length > 0;) {
    const int half = (length + 1) / 2;
    length -= half;
    for (int i = 0; i < soughtCount; ++i) {
      const int* middle = keys + std::ptrdiff_t{below[i] + half - 1} * N;
      below[i] += half & -static_cast<int>(words[i].isAfter(middle));
      memory::prefetch(keys + std::ptrdiff_t{below[i] + std::max(0, (length + 1) / 2 - 1)} * N);
    }
  }
}

template <int N>
int countPlainIn(const int* keys, int from, int count) {
  for (int i = from; i < count; ++i) {
    const int* key = keys + std::ptrdiff_t{i} * N;
    bool isPlain = i == 0 || KeyWords<N>(key).isAfter(key - N);
    for (int position = 0; position < N; ++position) isPlain &= key[position] > 0;
    if (!isPlain) return i;
  }
  return count;
}

template <std::size_t... I>
constexpr auto searches(std::index_sequence<I...>) {
  return std::array{countBelowIn<static_cast<int>(I) + 1>...};
}

template <std::size_t... I>
constexpr auto checks(std::index_sequence<I...>) {
  return std::array{countPlainIn<static_cast<int>(I) + 1>...};
}

template <std::size_t... I>
constexpr auto groupSearches(std::index_sequence<I...>) {
  return std::array{countBelowManyIn<static_cast<int>(I) + 1>...};
}

constexpr auto kGroupSearches = groupSearches(std::make_index_sequence<kMaxDim>());
constexpr auto kSearches = searches(std::make_index_sequence<kMaxDim>());
constexpr auto kChecks = checks(std::make_index_sequence<kMaxDim>());

/// Fetches a block of numbers at once, as far as that pays.
template <class T>
void prefetchBlock(const T* block, int numbers) {
  constexpr int kLine = 64 / sizeof(T);
  for (int i = 0; i < std::min(numbers, 16 * kLine); i += kLine) memory::prefetch(block + i);
}

}  // namespace

KeySearch::KeySearch(int dim, int doubles)
    : dim_(dim),
      doubles_(doubles),
      search_(kSearches[static_cast<std::size_t>(dim) - 1]),
      searchMany_(kGroupSearches[static_cast<std::size_t>(dim) - 1]),
      plain_(kChecks[static_cast<std::size_t>(dim) - 1]) {}

int KeySearch::countBelow(const int* keys, int count, const int* key, const double* values) {
  if (count <= 2 * kBlock || !makeFences(keys, count)) return search_(keys, count, key);
  const int blocks = search_(fences_.data(), fences(), key);
  if (blocks == 0) return 0;
  const int start = (blocks - 1) * kBlock;
  const int length = std::min(count - start, kBlock);
  const int* block = keys + std::ptrdiff_t{start} * dim_;
  prefetchBlock(block, length * dim_);
  prefetchBlock(values + std::ptrdiff_t{start} * doubles_, length * doubles_);
  return start + search_(block, length, key);
}

void KeySearch::countBelowMany(const int* keys, int count, const int* sought, int soughtCount,
                               int* below) {
  if (count <= 2 * kBlock || !makeFences(keys, count)) {
    return searchMany_(keys, count, sought, soughtCount, below);
  }
  searchMany_(fences_.data(), fences(), sought, soughtCount, below);
  const auto lengthOf = [&](int blocks) { return std::min(count - (blocks - 1) * kBlock, kBlock); };
  for (int i = 0; i < soughtCount; ++i) {
    const int* block = keys + std::ptrdiff_t{below[i] - 1} * kBlock * dim_;
    if (below[i] > 0) prefetchBlock(block, lengthOf(below[i]) * dim_);
  }
  for (int i = 0; i < soughtCount; ++i, sought += dim_) {
    if (below[i] == 0) continue;
    const int start = (below[i] - 1) * kBlock;
    below[i] = start + search_(keys + std::ptrdiff_t{start} * dim_, lengthOf(below[i]), sought);
  }
}

bool KeySearch::makeFences(const int* keys, int count) {
  const int wanted = (count - 1) / kBlock + 1;
  if (fences() == wanted) return true;
  try {
    for (int i = fences(); i < wanted; ++i) {
      const int* key = keys + std::ptrdiff_t{i} * kBlock * dim_;
      fences_.insert(fences_.end(), key, key + dim_);
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

void KeySearch::forgetFrom(int position) {
  const int kept = std::min((position + kBlock - 1) / kBlock, fences());
  fences_.resize(static_cast<std::size_t>(kept) * static_cast<std::size_t>(dim_));
}

}  // namespace zdb::dmap
