// Binary search in an array of keys.
#pragma once

#include <vector>

namespace zdb::dmap {

/// Finds positions in an array of keys that is mostly searched and rarely changed.
///
/// Copies of every 32nd key, the fences, are small enough to stay in the cache. Searching them
/// first narrows the search to one block of keys, where a search of the whole array would wait for
/// memory at nearly every step. The first search that needs fences makes them, and a change of the
/// keys drops those after it. If there is no memory for them, the whole array is searched.
class KeySearch {
 public:
  /// For keys of `dim` labels, each with `doubles` values.
  /// REQUIRES 1 <= dim <= 20.
  KeySearch(int dim, int doubles);

  /// Number of keys that are less than `key`, compared exactly. `keys` are `count` adjacent keys in
  /// ascending order; if they are not in order, the result is some number up to `count`. `values`
  /// are prefetched, since callers read them next.
  int countBelow(const int* keys, int count, const int* key, const double* values);
  /// Searches at a time: more than the processor has memory accesses under way.
  static constexpr int kGroup = 16;
  /// The same for up to kGroup adjacent keys, whose memory accesses overlap.
  void countBelowMany(const int* keys, int count, const int* sought, int soughtCount, int* below);
  /// Whether one key is less than another.
  bool isLess(const int* a, const int* b) const { return search_(a, 1, b) == 1; }
  /// The first position at or after `from`, or `count`, whose key has a label that is not positive
  /// or is not greater than the key before it.
  int countPlain(const int* keys, int from, int count) const { return plain_(keys, from, count); }
  /// To be called when the keys from this position on have changed or moved. Appending does not
  /// count as a change.
  void forgetFrom(int position);
  /// Frees the fences.
  void clear() noexcept { fences_ = {}; }

 private:
  static constexpr int kBlock = 32;
  using Search = int (*)(const int* keys, int count, const int* key);
  using SearchMany = void (*)(const int* keys, int count, const int* sought, int soughtCount,
                              int* below);
  using Plain = int (*)(const int* keys, int from, int count);

  bool makeFences(const int* keys, int count);
  int fences() const { return static_cast<int>(fences_.size()) / dim_; }

  int dim_;
  int doubles_;
  Search search_;
  SearchMany searchMany_;
  Plain plain_;
  std::vector<int> fences_;
};

}  // namespace zdb::dmap
