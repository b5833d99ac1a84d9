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

/// Sixteen bytes, and the same as wider numbers. The compiler has an instruction for each of the
/// shuffles below on every machine with vectors, and a loop elsewhere.
using Vector8 [[gnu::vector_size(16)]] = std::uint8_t;
using Vector16 [[gnu::vector_size(16)]] = std::uint16_t;
using Vector32 [[gnu::vector_size(16)]] = std::uint32_t;

/// Makes sixteen numbers of their bytes: pairs of neighbouring planes are interleaved byte by byte,
/// the results as numbers of two bytes, and these as numbers of four.
inline void joinGroup(const std::array<Vector8, 8>& planes, std::uint8_t* numbers) {
  const auto put = [&numbers](Vector32 two) {
    std::memcpy(numbers, &two, sizeof two);
    numbers += sizeof two;
  };
  std::array<std::array<Vector16, 2>, 4> pairs;  // of planes; eight numbers in each half
  for (int p = 0; p < 4; ++p) {
    const Vector8 a = planes[2 * p];
    const Vector8 b = planes[2 * p + 1];
    pairs[p][0] = __builtin_bit_cast(
        Vector16,
        __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
    pairs[p][1] =
        __builtin_bit_cast(Vector16, __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12,
                                                             28, 13, 29, 14, 30, 15, 31));
  }
  const auto low = [](Vector16 a, Vector16 b) {
    return __builtin_bit_cast(Vector32, __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11));
  };
  const auto high = [](Vector16 a, Vector16 b) {
    return __builtin_bit_cast(Vector32, __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15));
  };
  const auto putFour = [&put](Vector32 a, Vector32 b) {
    put(__builtin_shufflevector(a, b, 0, 4, 1, 5));
    put(__builtin_shufflevector(a, b, 2, 6, 3, 7));
  };
  for (int half = 0; half < 2; ++half) {
    putFour(low(pairs[0][half], pairs[1][half]), low(pairs[2][half], pairs[3][half]));
    putFour(high(pairs[0][half], pairs[1][half]), high(pairs[2][half], pairs[3][half]));
  }
}

/// Calls sink(i, value) for each value of planes of n bytes that lie anywhere, 0 <= i < n.
/// REQUIRES 0 <= width <= 8.
template <typename Sink>
void joinPlanes(std::size_t n, int width, const std::array<const std::uint8_t*, 8>& planes,
                Sink sink) {
  constexpr std::size_t kGroup = sizeof(Vector8);
  std::size_t i = 0;
  for (std::array<std::uint8_t, 8 * kGroup> numbers; i + kGroup <= n; i += kGroup) {
    std::array<Vector8, 8> rows{};
    for (int p = 0; p < width; ++p) std::memcpy(&rows[p], planes[p] + i, kGroup);
    joinGroup(rows, numbers.data());
    for (std::size_t j = 0; j < kGroup; ++j) {
      sink(i + j, loadInt<std::uint64_t>(numbers.data() + 8 * j));
    }
  }
  for (; i < n; ++i) {
    std::uint64_t value = 0;
    for (int p = 0; p < width; ++p) value |= std::uint64_t{planes[p][i]} << (8 * p);
    sink(i, value);
  }
}

}  // namespace zdb::zxfile
