/// Binary search in an array of keys.
#pragma once

#include <vector>

namespace zdb::dmap {

/// Finds places in an array of keys that is mostly searched and rarely changed.
///
/// Copies of every 32nd key, the fences, are small enough to stay in the cache. A search among them
/// leads to the one block of keys that is looked at, where a search of the whole array would wait
/// for memory at nearly every step. Fences are made by the first search that needs them, and
/// forgotten from where the keys change. Without the memory for them a search does without.
class KeySearch {
 public:
  /// For keys of `dim` labels, 1 to 20, each with `doubles` values.
  KeySearch(int dim, int doubles);

  /// Number of keys that are less than `key`, compared exactly. `keys` are `count` keys in
  /// ascending order, one behind the other; if they are not in order, the result is some number up
  /// to `count`.
  /// `values` are fetched along, since they are what comes next.
  int countBelow(const int* keys, int count, const int* key, const double* values);
  /// Whether one key is less than another.
  bool isLess(const int* a, const int* b) const { return search_(a, 1, b) == 1; }
  /// The first position from `from` on, or `count`, whose key has a label that is not positive or
  /// does not come after the key before it.
  int countPlain(const int* keys, int from, int count) const { return plain_(keys, from, count); }
  /// To be called when the keys from this position on have changed or moved. Appending is no
  /// change.
  void forgetFrom(int position);
  /// Frees the fences.
  void clear() noexcept { fences_ = {}; }

 private:
  static constexpr int kBlock = 32;
  using Search = int (*)(const int* keys, int count, const int* key);
  using Plain = int (*)(const int* keys, int from, int count);

  bool makeFences(const int* keys, int count);
  int fences() const { return static_cast<int>(fences_.size()) / dim_; }

  int dim_;
  int doubles_;
  Search search_;
  Plain plain_;
  std::vector<int> fences_;
};

}  // namespace zdb::dmap
