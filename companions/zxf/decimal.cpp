#include "zxf/decimal.h"

#include <algorithm>
#include <cmath>

#include "zxf/special.h"

namespace zdb::zxfile {

namespace {

constexpr double kPowers[kMaxDecimals + 1] = {1E0, 1E1, 1E2,  1E3,  1E4,  1E5,  1E6,  1E7,
                                              1E8, 1E9, 1E10, 1E11, 1E12, 1E13, 1E14, 1E15};

// 1.5 * 2^52: the last bit of a double of that size is worth 1, so adding it rounds to an integer,
// whose low bits are then in the mantissa (Warren, Hacker's Delight, 17-2).
constexpr double kRounder = 6755399441055744.0;

struct Rounded {
  std::int64_t integer;
  bool fits;  // the integer restores the value
};

inline Rounded roundTo(double value, double power) {
  const double shifted = value * power + kRounder;
  const double whole = shifted - kRounder;
  const bool inRange = std::fabs(value * power) <= static_cast<double>(kMaxDecimalInteger);
  return {static_cast<std::int64_t>(bitsOf(shifted) - bitsOf(kRounder)),
          inRange && bitsOf(whole / power) == bitsOf(value)};
}

}  // namespace

double powerOfTen(int decimals) {
  return kPowers[decimals];
}

int decimalsOf(double value, int first) {
  for (int decimals = first; decimals <= kMaxDecimals; ++decimals) {
    if (roundTo(value, kPowers[decimals]).fits) return decimals;
  }
  return -1;
}

int DecimalColumn::sampleDecimals(std::span<const double> values) {
  constexpr std::size_t kSamples = 64;
  const std::size_t step = std::max<std::size_t>(1, values.size() / kSamples);
  int decimals = 0;
  std::size_t taken = 0;
  std::size_t missed = 0;
  for (std::size_t i = 0; i < values.size(); i += step, ++taken) {
    const int needed = decimalsOf(values[i], decimals);
    if (needed < 0) ++missed;
    decimals = std::max(decimals, needed);
  }
  return missed * 4 <= taken ? decimals : -1;
}

void DecimalColumn::convert(std::span<const double> values) {
  const double power = kPowers[decimals_];
  integers_.resize(values.size());
  fits_.resize(values.size());
  bool all = true;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Rounded rounded = roundTo(values[i], power);
    integers_[i] = rounded.integer;
    fits_[i] = rounded.fits ? 1 : 0;
    all &= rounded.fits;
  }
  misfits_.clear();
  for (std::size_t i = 0; !all && i < values.size(); ++i) {
    if (fits_[i] == 0) misfits_.push_back(static_cast<std::uint32_t>(i));
  }
}

bool DecimalColumn::analyse(std::span<const double> values) {
  decimals_ = sampleDecimals(values);
  while (decimals_ >= 0) {
    convert(values);
    if (misfits_.size() * 16 <= values.size()) return true;
    decimals_ = decimalsOf(values[misfits_.front()], decimals_ + 1);
  }
  return false;
}

}  // namespace zdb::zxfile
