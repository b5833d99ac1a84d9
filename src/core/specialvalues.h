#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <limits>

namespace zdb {

/// Order of the special values in every array of them.
enum SpecialValueIndex : int {
  SpecialUndefined = 0,
  SpecialNotAvailable = 1,
  SpecialPlusInfinity = 2,
  SpecialMinusInfinity = 3,
  SpecialEpsilon = 4,
};

using SpecialValues = std::array<double, 5>;

/// The special values in records: undefined, not available, the infinities, and epsilon, which
/// stands for an explicit zero.
inline constexpr SpecialValues kLibrarySpecialValues = {
    1.0E300, std::bit_cast<double>(std::uint64_t{0x7FF8000000000000}),
    std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
    std::bit_cast<double>(std::uint64_t{1})};

/// Whether two doubles have the same bits; the only comparison that distinguishes NaNs.
inline bool sameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// Translates between the caller's special values and the library's.
///
/// If the caller uses the library's own values, this costs one test per value.
class SpecialValueMap {
 public:
  /// 0: the caller's values are the library's; 1: only epsilon differs; 2: others differ too.
  int state() const { return state_; }
  const SpecialValues& user() const { return user_; }

  /// Takes five values; returns the new state.
  int set(const double* values) {
    state_ = 0;
    for (int i = 0; i < 5; ++i) {
      user_[i] = values[i];
      if (!sameBits(values[i], kLibrarySpecialValues[i])) state_ = i < SpecialEpsilon ? 2 : state_;
    }
    if (state_ == 0 && !sameBits(user_[SpecialEpsilon], kLibrarySpecialValues[SpecialEpsilon])) {
      state_ = 1;
    }
    return state_;
  }

  double toLibrary(double value) const {
    return state_ == 0 ? value : translate(value, user_, kLibrarySpecialValues);
  }
  double toUser(double value) const {
    return state_ == 0 ? value : translate(value, kLibrarySpecialValues, user_);
  }

 private:
  static double translate(double value, const SpecialValues& from, const SpecialValues& to) {
    for (int i = 0; i < 5; ++i) {
      if (sameBits(value, from[i])) return to[i];
    }
    return value;
  }

  SpecialValues user_ = kLibrarySpecialValues;
  int state_ = 0;
};

}  // namespace zdb
