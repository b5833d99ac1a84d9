// The seven special values of a handle and how they are recognised in data.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <limits>

#include "zxf/format.h"

namespace zdb::zxfile {

/// In this order: undefined, not available, plus infinity, minus infinity, epsilon, a slot reserved
/// for acronyms, which this library does not support, and one that has no meaning yet. The last two
/// are stored and returned, but never matched in data.
using SpecialValues = std::array<double, kSpecialSlots>;

inline constexpr SpecialValues kDefaultSpecials = {
    1.0E300,
    std::bit_cast<double>(std::uint64_t{0x7FF8000000000000}),
    std::numeric_limits<double>::infinity(),
    -std::numeric_limits<double>::infinity(),
    std::numeric_limits<double>::denorm_min(),
    0.0,
    0.0};

inline std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

/// Compares bit patterns: two NaNs may differ, and -0.0 differs from 0.0.
class SpecialMatcher {
 public:
  explicit SpecialMatcher(const SpecialValues& values) {
    for (int i = 0; i < kCodedSlots; ++i) bits_[i] = bitsOf(values[i]);
  }

  bool matches(std::uint64_t bits) const {
    bool any = false;
    for (const std::uint64_t special : bits_) any |= bits == special;
    return any;
  }

  /// The lowest slot with that bit pattern, or kLiteralCode.
  std::uint8_t code(std::uint64_t bits) const {
    for (std::uint8_t i = 0; i < kCodedSlots; ++i) {
      if (bits == bits_[i]) return i;
    }
    return kLiteralCode;
  }

 private:
  std::array<std::uint64_t, kCodedSlots> bits_;
};

}  // namespace zdb::zxfile
