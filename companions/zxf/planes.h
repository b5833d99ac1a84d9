// Byte planes: byte p of every number of a column, one plane after the other.
//
// The high bytes of neighbouring numbers are similar and pack well when they are next to each
// other; the low bytes of measured values are noise and are stored unpacked.
#pragma once

#include <array>
#include <cstdint>

#include "zxf/bytes.h"

namespace zdb::zxfile {

/// Transposes an 8 by 8 matrix of bytes, one row in each word: three rounds swap the off-diagonal
/// blocks of 4, 2 and 1 bytes (the block-swap transposition of Warren, Hacker's Delight, 7-3).
inline void transposeBytes(std::array<std::uint64_t, 8>& rows) {
  constexpr std::uint64_t kMask[] = {0x00000000FFFFFFFF, 0x0000FFFF0000FFFF, 0x00FF00FF00FF00FF};
  for (int round = 0, step = 4; step > 0; ++round, step /= 2) {
    for (int i = 0; i < 8; ++i) {
      if ((i & step) != 0) continue;
      const std::uint64_t swap = ((rows[i] >> (8 * step)) ^ rows[i + step]) & kMask[round];
      rows[i + step] ^= swap;
      rows[i] ^= swap << (8 * step);
    }
  }
}

/// Writes the `width` low bytes of source(i), 0 <= i < n, into planes of n bytes.
/// REQUIRES 0 <= width <= 8.
template <typename Source>
void splitPlanes(std::size_t n, int width, std::uint8_t* planes, Source source) {
  std::size_t i = 0;
  for (std::array<std::uint64_t, 8> rows; i + 8 <= n; i += 8) {
    for (int j = 0; j < 8; ++j) rows[j] = source(i + j);
    transposeBytes(rows);
    for (int p = 0; p < width; ++p) storeInt(planes + p * n + i, rows[p]);
  }
  for (; i < n; ++i) {
    const std::uint64_t value = source(i);
    for (int p = 0; p < width; ++p) planes[p * n + i] = static_cast<std::uint8_t>(value >> (8 * p));
  }
}

/// Calls sink(i, value) for each value of such planes, 0 <= i < n.
template <typename Sink>
void joinPlanes(std::size_t n, int width, const std::uint8_t* planes, Sink sink) {
  std::size_t i = 0;
  for (std::array<std::uint64_t, 8> rows; i + 8 <= n; i += 8) {
    rows.fill(0);
    for (int p = 0; p < width; ++p) rows[p] = loadInt<std::uint64_t>(planes + p * n + i);
    transposeBytes(rows);
    for (int j = 0; j < 8; ++j) sink(i + j, rows[j]);
  }
  for (; i < n; ++i) {
    std::uint64_t value = 0;
    for (int p = 0; p < width; ++p) value |= std::uint64_t{planes[p * n + i]} << (8 * p);
    sink(i, value);
  }
}

}  // namespace zdb::zxfile
