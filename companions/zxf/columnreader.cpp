#include "zxf/column.h"
#include "zxf/planes.h"

namespace zdb::zxfile {

void ColumnReader::read(FieldReader& in, std::span<double> values, const SpecialValues& delivered) {
  ColumnHeader header;
  visit(in, header);
  if (header.kind == ColumnKind::Constant) {
    if (header.code > kLiteralCode) in.damaged("code of a constant column");
    const double value =
        header.code == kLiteralCode ? std::bit_cast<double>(header.bits) : delivered[header.code];
    std::fill(values.begin(), values.end(), value);
    return;
  }
  if (header.kind == ColumnKind::Decimal) {
    readDecimal(in, header, values);
  } else {
    readDouble(in, values);
  }
  readExceptions(in, values, delivered);
}

std::array<const std::uint8_t*, sizeof(double)> ColumnReader::readPlanes(FieldReader& in,
                                                                         std::size_t n, int width) {
  std::array<const std::uint8_t*, sizeof(double)> planes{};
  planes_.resize(n * width);
  for (int p = 0; p < width; ++p) {
    const auto room = std::span(planes_).subspan(p * n, n);
    planes[p] = streams_.view(in, room, "plane of a value column").data();
  }
  return planes;
}

void ColumnReader::readDecimal(FieldReader& in, const ColumnHeader& header,
                               std::span<double> values) {
  if (header.decimals > kMaxDecimals) in.damaged("decimals of a column");
  if (header.width > kMaxDecimalWidth) in.damaged("width of a column");
  const auto planes = readPlanes(in, values.size(), header.width);
  const double power = powerOfTen(header.decimals);
  // Unsigned, so that a damaged base wraps around and does not overflow.
  const auto base = static_cast<std::uint64_t>(header.base);
  joinPlanes(values.size(), header.width, planes, [&](std::size_t i, std::uint64_t n) {
    values[i] = decimalValue(static_cast<std::int64_t>(base + n), power);
  });
}

void ColumnReader::readDouble(FieldReader& in, std::span<double> values) {
  const auto planes = readPlanes(in, values.size(), sizeof(double));
  joinPlanes(values.size(), sizeof(double), planes,
             [&](std::size_t i, std::uint64_t bits) { values[i] = std::bit_cast<double>(bits); });
}

void ColumnReader::readExceptions(FieldReader& in, std::span<double> values,
                                  const SpecialValues& delivered) {
  constexpr std::size_t kMaxExceptionSize = 5 + 1 + sizeof(double);
  streams_.read(in, exceptionBytes_, values.size() * kMaxExceptionSize, "exception values");
  // Each entry moves past the previous one, so the loop ends whatever the bytes are.
  FieldReader exceptions(exceptionBytes_, Errc::DamagedRecords);
  for (std::uint64_t position = 0; exceptions.left() > 0; ++position) {
    std::uint64_t gap = 0;
    exceptions.varint("position of an exception value", gap);
    if (gap >= values.size() - position) in.damaged("position of an exception value");
    position += gap;
    std::uint8_t code = 0;
    exceptions.number("code of an exception value", code);
    if (code > kLiteralCode) in.damaged("code of an exception value");
    std::uint64_t bits = 0;
    if (code == kLiteralCode) exceptions.number("exception value", bits);
    values[position] = code == kLiteralCode ? std::bit_cast<double>(bits) : delivered[code];
  }
}

}  // namespace zdb::zxfile
