// Recognises columns whose values were decimals with few digits before they became doubles.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "zxf/format.h"

namespace zdb::zxfile {

/// 10^decimals; exact in a double for 0 <= decimals <= 22.
double powerOfTen(int decimals);

/// The value of a decimal. Division rounds correctly on every machine, so the same integer and
/// power give the same bits everywhere; multiplying by 0.1 and the like would not give back most
/// decimals.
inline double decimalValue(std::int64_t integer, double power) {
  return static_cast<double>(integer) / power;
}

/// The fewest decimals in [first, kMaxDecimals] at which a value comes back bit by bit, or -1.
int decimalsOf(double value, int first);

/// Turns a column into integers at the fewest decimals that serve almost all values.
class DecimalColumn {
 public:
  /// False when more than a sixteenth of the values (or a quarter of a sample) comes back at no
  /// common number of decimals. Cost: one pass, and one more each time the sample missed a digit.
  bool analyse(std::span<const double> values);

  int decimals() const { return decimals_; }
  std::span<const std::int64_t> integers() const { return integers_; }

  /// Positions, ascending, of the values that do not come back; their integers mean nothing.
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
