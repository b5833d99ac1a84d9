// Keys packed into words that compare like the keys.
#pragma once

#include <cstdint>

#include "dmap/idmap.h"

namespace zdb::dmap {

/// Words needed for a key of `keyLength` labels.
constexpr int wordsPerKey(int keyLength) {
  return (keyLength + 1) / 2;
}

inline constexpr int kMaxKeyWords = wordsPerKey(kMaxDim);

/// A label as an unsigned number in the same order.
constexpr std::uint64_t orderedLabel(int label) {
  return static_cast<std::uint32_t>(label) ^ 0x80000000U;
}

/// Word `i` of a key: labels 2i and 2i+1, the first in the high half; a missing one counts as 0.
constexpr std::uint64_t keyWord(const int* key, int keyLength, int i) {
  const std::uint64_t high = orderedLabel(key[2 * i]) << 32;
  return 2 * i + 1 < keyLength ? high | orderedLabel(key[2 * i + 1]) : high;
}

/// Packs a key whose length is only known at run time.
inline void packKey(const int* key, int keyLength, std::uint64_t* words) {
  for (int i = 0; i < wordsPerKey(keyLength); ++i) words[i] = keyWord(key, keyLength, i);
}

/// Whether `a` comes before `b`, both of `count` words.
inline bool wordsLess(const std::uint64_t* a, const std::uint64_t* b, int count) {
  for (int i = 0; i < count; ++i) {
    if (a[i] != b[i]) return a[i] < b[i];
  }
  return false;
}

/// A byte that differs for most pairs of keys, however alike the keys are, from a multiplicative
/// hash; the factor, 2^64 divided by the golden ratio, spreads neighbouring numbers evenly.
inline std::uint8_t keyTag(const std::uint64_t* words, int count) {
  std::uint64_t hash = 0;
  for (int i = 0; i < count; ++i) {
    hash = (hash + words[i]) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 32;
  }
  return static_cast<std::uint8_t>(hash >> 24);
}

/// A packed key of N labels, made once per search.
template <int N>
class KeyWords {
 public:
  static constexpr int kCount = wordsPerKey(N);

  KeyWords() = default;
  explicit KeyWords(const int* key) {
    for (int i = 0; i < kCount; ++i) words_[i] = keyWord(key, N, i);
  }

  const std::uint64_t* data() const { return words_; }

  /// Whether this key comes before the separator `words`.
  bool isBefore(const std::uint64_t* words) const {
    if constexpr (kCount == 1) {
      return words_[0] < words[0];
    } else if constexpr (kCount == 2) {
      return precedes(words_[0], words_[1], words[0], words[1]);
    } else {
      return wordsLess(words_, words, kCount);
    }
  }

  /// Whether the record with this key comes before this key.
  bool isAfter(const int* key) const {
    if constexpr (kCount == 1) {
      return keyWord(key, N, 0) < words_[0];
    } else if constexpr (kCount == 2) {
      return precedes(keyWord(key, N, 0), keyWord(key, N, 1), words_[0], words_[1]);
    } else {
      for (int i = 0; i < kCount; ++i) {
        const std::uint64_t word = keyWord(key, N, i);
        if (word != words_[i]) return word < words_[i];
      }
      return false;
    }
  }

  bool equals(const int* key) const {
    std::uint64_t difference = 0;
    for (int i = 0; i < kCount; ++i) difference |= words_[i] ^ keyWord(key, N, i);
    return difference == 0;
  }

  /// See `keyTag`.
  std::uint8_t tag() const { return keyTag(words_, kCount); }

 private:
  /// Lexicographic order of two pairs, without a branch to mispredict.
  static bool precedes(std::uint64_t a0, std::uint64_t a1, std::uint64_t b0, std::uint64_t b1) {
    return static_cast<bool>(static_cast<int>(a0 < b0) |
                             (static_cast<int>(a0 == b0) & static_cast<int>(a1 < b1)));
  }

  std::uint64_t words_[kCount];
};

}  // namespace zdb::dmap
