// Columns of values: one of the 1 or 5 doubles of every record of a block.
#pragma once

#include <span>
#include <vector>

#include "zxf/decimal.h"
#include "zxf/special.h"
#include "zxf/stream.h"

namespace zdb::zxfile {

/// A value that stands beside its column: a special value, or one that is no decimal like the rest.
struct AsideValue {
  std::uint32_t position;
  std::uint8_t code;   ///< slot of the special values, or kLiteralCode
  std::uint64_t bits;  ///< of a literal
};

/// Packs columns. The rules, in this order: all values alike make a constant; what almost all
/// values have as decimals becomes integers; everything else stays bit patterns. Keeps its buffers
/// from block to block.
class ColumnWriter {
 public:
  explicit ColumnWriter(StreamWriter& streams) : streams_(streams) {}

  /// Appends the column of 1 or more values; those that match a special value are kept by slot.
  void append(Bytes& out, std::span<const double> values, const SpecialMatcher& specials);

 private:
  /// Moves special values from the column to aside_ and leaves a plain neighbour in their place, so
  /// that they neither widen the integers nor spoil the planes.
  void separate(std::span<const double> values, const SpecialMatcher& specials);
  void appendConstant(Bytes& out, double value, const SpecialMatcher& specials);
  void appendDecimal(Bytes& out);
  void appendDouble(Bytes& out);
  void appendAside(Bytes& out);
  /// The same for values that are no decimals like the rest.
  void smoothMisfits();
  /// Splits source(i) into byte planes and appends each as a stream of its own.
  template <typename Source>
  void appendPlanes(Bytes& out, int width, Source source);

  StreamWriter& streams_;
  DecimalColumn decimal_;
  std::vector<double> plain_;  ///< the column with a plain neighbour in the place of special values
  std::vector<std::int64_t> integers_;
  std::vector<AsideValue> aside_;
  Bytes planes_;
  Bytes asideBytes_;
};

/// Unpacks columns that nothing is known about; fails with the field reader's code.
class ColumnReader {
 public:
  explicit ColumnReader(StreamReader& streams) : streams_(streams) {}

  /// Fills `values`; slots of special values give the value that `delivered` has for them.
  void read(FieldReader& in, std::span<double> values, const SpecialValues& delivered);

 private:
  void readDecimal(FieldReader& in, const ColumnHeader& header, std::span<double> values);
  void readDouble(FieldReader& in, std::span<double> values);
  void readAside(FieldReader& in, std::span<double> values, const SpecialValues& delivered);
  /// Fills planes_ with `width` planes of n bytes.
  void readPlanes(FieldReader& in, std::size_t n, int width);

  StreamReader& streams_;
  Bytes planes_;
  Bytes asideBytes_;
};

}  // namespace zdb::zxfile
