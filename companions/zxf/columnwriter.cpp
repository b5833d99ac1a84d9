#include <algorithm>

#include "zxf/column.h"
#include "zxf/planes.h"

namespace zdb::zxfile {

namespace {

bool allSame(std::span<const double> values) {
  return std::all_of(values.begin(), values.end(),
                     [&](double value) { return bitsOf(value) == bitsOf(values[0]); });
}

int widthOf(std::uint64_t largest) {
  int width = 0;
  for (; largest > 0; largest >>= 8) ++width;
  return width;
}

}  // namespace

void ColumnWriter::append(Bytes& out, std::span<const double> values,
                          const SpecialMatcher& specials) {
  if (allSame(values)) {
    appendConstant(out, values[0], specials);
    return;
  }
  separate(values, specials);
  if (decimal_.analyse(plain_)) {
    appendDecimal(out);
  } else {
    appendDouble(out);
  }
  appendExceptions(out);
}

void ColumnWriter::separate(std::span<const double> values, const SpecialMatcher& specials) {
  plain_.assign(values.begin(), values.end());
  exceptions_.clear();
  bool any = false;
  for (const double value : values) any |= specials.matches(bitsOf(value));
  if (!any) return;
  // The values are not all the same: one of them is plain, or there are two special values.
  const auto first = std::find_if(values.begin(), values.end(),
                                  [&](double value) { return !specials.matches(bitsOf(value)); });
  double neighbour = first == values.end() ? 0.0 : *first;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::uint8_t code = specials.code(bitsOf(values[i]));
    if (code == kLiteralCode) {
      neighbour = values[i];
    } else {
      exceptions_.push_back({static_cast<std::uint32_t>(i), code, 0});
      plain_[i] = neighbour;
    }
  }
}

void ColumnWriter::appendConstant(Bytes& out, double value, const SpecialMatcher& specials) {
  ColumnHeader header;
  header.kind = ColumnKind::Constant;
  header.code = specials.code(bitsOf(value));
  header.bits = bitsOf(value);
  FieldWriter fields(out);
  visit(fields, header);
}

// Misfits become exception values; a neighbour's integer in their place costs the planes nothing.
void ColumnWriter::smoothMisfits() {
  const std::span<const std::uint32_t> misfits = decimal_.misfits();
  integers_.assign(decimal_.integers().begin(), decimal_.integers().end());
  if (misfits.empty()) return;
  std::size_t firstFit = 0;
  while (firstFit < misfits.size() && misfits[firstFit] == firstFit) ++firstFit;
  const std::size_t specialCount = exceptions_.size();
  for (const std::uint32_t position : misfits) {
    exceptions_.push_back({position, kLiteralCode, bitsOf(plain_[position])});
    integers_[position] = integers_[position == 0 ? firstFit : position - 1];
  }
  // A special value after a misfit has copied it as its neighbour, so is a misfit as well: keep it
  // as a special value only.
  const auto before = [](const ExceptionValue& a, const ExceptionValue& b) {
    return a.position < b.position;
  };
  std::inplace_merge(exceptions_.begin(),
                     exceptions_.begin() + static_cast<std::ptrdiff_t>(specialCount),
                     exceptions_.end(), before);
  const auto samePosition = [](const ExceptionValue& a, const ExceptionValue& b) {
    return a.position == b.position;
  };
  exceptions_.erase(std::unique(exceptions_.begin(), exceptions_.end(), samePosition),
                    exceptions_.end());
}

void ColumnWriter::appendDecimal(Bytes& out) {
  smoothMisfits();
  const auto [least, most] = std::minmax_element(integers_.begin(), integers_.end());
  ColumnHeader header;
  header.kind = ColumnKind::Decimal;
  header.decimals = static_cast<std::uint8_t>(decimal_.decimals());
  header.base = *least;
  header.width = static_cast<std::uint8_t>(widthOf(static_cast<std::uint64_t>(*most - *least)));
  FieldWriter fields(out);
  visit(fields, header);
  appendPlanes(out, header.width, [&](std::size_t i) {
    return static_cast<std::uint64_t>(integers_[i] - header.base);
  });
}

void ColumnWriter::appendDouble(Bytes& out) {
  ColumnHeader header;
  header.kind = ColumnKind::Double;
  FieldWriter fields(out);
  visit(fields, header);
  appendPlanes(out, sizeof(double), [&](std::size_t i) { return bitsOf(plain_[i]); });
}

template <typename Source>
void ColumnWriter::appendPlanes(Bytes& out, int width, Source source) {
  const std::size_t n = plain_.size();
  planes_.resize(n * width);
  splitPlanes(n, width, planes_.data(), source);
  for (int p = 0; p < width; ++p) streams_.append(out, ByteSpan(planes_).subspan(p * n, n));
}

void ColumnWriter::appendExceptions(Bytes& out) {
  exceptionBytes_.clear();
  std::uint32_t next = 0;
  for (const ExceptionValue& value : exceptions_) {
    appendVarint(exceptionBytes_, value.position - next);
    exceptionBytes_.push_back(value.code);
    if (value.code == kLiteralCode) FieldWriter(exceptionBytes_).number("value", value.bits);
    next = value.position + 1;
  }
  streams_.append(out, exceptionBytes_);
}

}  // namespace zdb::zxfile
