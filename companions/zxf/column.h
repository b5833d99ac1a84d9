// Columns of values: one of the 1 or 5 doubles of each record in a block.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "zxf/decimal.h"
#include "zxf/special.h"
#include "zxf/stream.h"

namespace zdb::zxfile {

/// An exception value, kept outside its column: a special value, or one that is not a decimal as
/// the others are.
struct ExceptionValue {
  std::uint32_t position;
  std::uint8_t code;   ///< slot of a special value, or kLiteralCode
  std::uint64_t bits;  ///< only with kLiteralCode
};

/// Packs columns. The first rule that applies counts: a column of equal values is stored as a
/// constant, one of almost only short decimals as integers, any other as bit patterns. Buffers are
/// reused from block to block.
class ColumnWriter {
 public:
  explicit ColumnWriter(StreamWriter& streams) : streams_(streams) {}

  /// Appends a column; values that match a special value are stored by slot.
  /// REQUIRES !values.empty().
  void append(Bytes& out, std::span<const double> values, const SpecialMatcher& specials);

 private:
  /// Moves special values from the column to exceptions_ and replaces them by a plain neighbour, so
  /// that they neither widen the integers nor make the planes pack worse.
  void separate(std::span<const double> values, const SpecialMatcher& specials);
  void appendConstant(Bytes& out, double value, const SpecialMatcher& specials);
  void appendDecimal(Bytes& out);
  void appendDouble(Bytes& out);
  void appendExceptions(Bytes& out);
  /// The same for values that are not decimals as the others are.
  void smoothMisfits();
  /// Splits source(i) into byte planes and appends each as a separate stream.
  template <typename Source>
  void appendPlanes(Bytes& out, int width, Source source);

  StreamWriter& streams_;
  DecimalColumn decimal_;
  std::vector<double> plain_;  ///< the column, special values replaced by a plain neighbour
  std::vector<std::int64_t> integers_;
  std::vector<ExceptionValue> exceptions_;
  Bytes planes_;
  Bytes exceptionBytes_;
};

/// Unpacks untrusted columns; fails with the field reader's code.
class ColumnReader {
 public:
  explicit ColumnReader(StreamReader& streams) : streams_(streams) {}

  /// Fills `values`; special values are taken from `delivered` by slot.
  void read(FieldReader& in, std::span<double> values, const SpecialValues& delivered);

 private:
  void readDecimal(FieldReader& in, const ColumnHeader& header, std::span<double> values);
  void readDouble(FieldReader& in, std::span<double> values);
  void readExceptions(FieldReader& in, std::span<double> values, const SpecialValues& delivered);
  /// Where the bytes of `width` planes of n bytes are until the next call.
  std::array<const std::uint8_t*, sizeof(double)> readPlanes(FieldReader& in, std::size_t n,
                                                             int width);

  StreamReader& streams_;
  Bytes planes_;
  Bytes exceptionBytes_;
};

}  // namespace zdb::zxfile
