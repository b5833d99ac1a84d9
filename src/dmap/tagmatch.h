// Searching a leaf for a key's tag, 16 tags at a time where the processor allows.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "dmap/recordtree.h"
#include "memory/pages.h"

namespace zdb::dmap {

static_assert(offsetof(RecordLeaf, count) % 16 == 0 &&
                  offsetof(RecordLeaf, tags) == offsetof(RecordLeaf, count) + 1 &&
                  offsetof(RecordLeaf, slots) == offsetof(RecordLeaf, count) + 48,
              "the count and the tags fill three aligned groups of 16 bytes");

/// Bit i of the result is set if the leaf's record i has this tag.
inline std::uint64_t matchTags(const RecordLeaf& leaf, std::uint8_t tag) {
  std::uint64_t matches = 0;
#if defined(__SSE2__)
  // The group of 48 bytes begins with the count, hence one bit too many on the right.
  const auto* groups = reinterpret_cast<const __m128i*>(&leaf.count);
  const __m128i wanted = _mm_set1_epi8(static_cast<char>(tag));
  for (int i = 0; i < 3; ++i) {
    const int equal = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_load_si128(groups + i), wanted));
    matches |= static_cast<std::uint64_t>(static_cast<std::uint32_t>(equal)) << (16 * i);
  }
  matches >>= 1;
#else
  for (std::uint32_t i = 0; i < RecordLeaf::kCapacity; ++i) {
    matches |= std::uint64_t{leaf.tags[i] == tag} << i;
  }
#endif
  return matches & ((std::uint64_t{1} << leaf.count) - 1);
}

/// Prefetches a whole leaf.
inline void prefetchLeaf(const RecordLeaf* leaf) {
  const auto* lines = reinterpret_cast<const char*>(leaf);
  for (std::size_t line = 0; line < sizeof *leaf; line += 64) memory::prefetch(lines + line);
}

}  // namespace zdb::dmap
