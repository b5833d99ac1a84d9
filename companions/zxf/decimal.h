// Recognises columns whose values are the doubles nearest to decimals with few digits.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "zxf/format.h"

namespace zdb::zxfile {

/// 10^decimals, exactly.
/// REQUIRES 0 <= decimals <= kMaxDecimals.
double powerOfTen(int decimals);

/// The value of a decimal. Division is correctly rounded on every machine, so the same integer and
/// power give the same bits everywhere; multiplying by 0.1 and the like misses most decimals.
inline double decimalValue(std::int64_t integer, double power) {
  return static_cast<double>(integer) / power;
}

/// The smallest n, first <= n <= kMaxDecimals, such that n decimals restore the value bit by bit,
/// or -1.
int decimalsOf(double value, int first);

/// Converts a column to integers, with the fewest decimals that restore almost all values.
class DecimalColumn {
 public:
  /// Returns false if no common number of decimals restores at least fifteen sixteenths of the
  /// values (or three quarters of a sample). Cost: one pass, and another each time the sample
  /// missed a digit.
  bool analyse(std::span<const double> values);

  int decimals() const { return decimals_; }
  std::span<const std::int64_t> integers() const { return integers_; }

  /// Positions, ascending, of the values that are not restored; their integers have no meaning.
  std::span<const std::uint32_t> misfits() const { return misfits_; }

 private:
  static int sampleDecimals(std::span<const double> values);
  void convert(std::span<const double> values);

  int decimals_ = 0;
  std::vector<std::int64_t> integers_;
  std::vector<std::uint32_t> misfits_;
  std::vector<std::uint8_t> fits_;
};

}  // namespace zdb::zxfile
