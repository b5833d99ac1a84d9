#include "values.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

#include "contract/names.h"
#include "number.h"

namespace zdb::tool {

namespace {

constexpr const char* kNames[ZDB_SV_COUNT] = {"Undef", "NA", "+Inf", "-Inf", "Eps"};

constexpr const char* kNumberTexts[ZDB_SV_COUNT] = {"nan", "nan", "inf", "-inf", "0"};
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kNumbers[ZDB_SV_COUNT] = {kNaN, kNaN, kInfinity, -kInfinity, 0};

std::uint64_t bits(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

}  // namespace

const char* typeName(int type) {
  switch (type) {
    case ZDB_SET:
      return "set";
    case ZDB_PARAMETER:
      return "parameter";
    case ZDB_VARIABLE:
      return "variable";
    case ZDB_EQUATION:
      return "equation";
    case ZDB_ALIAS:
      return "alias";
    default:
      return "unknown";
  }
}

std::string domainText(const SymbolInfo& symbol) {
  std::string result;
  for (const Domain& domain : symbol.domains) {
    if (!result.empty()) result += ", ";
    result += domain.relaxed ? "'" + domain.name + "'" : domain.name;
  }
  return result;
}

ValueFormat::ValueFormat(const std::array<double, ZDB_SV_COUNT>& specials, SpecialForm form)
    : specials_(specials), form_(form) {}

// By bit pattern, as some of them are not numbers.
std::size_t ValueFormat::special(double value) const {
  std::size_t i = 0;
  while (i < specials_.size() && bits(value) != bits(specials_[i])) ++i;
  return i;
}

std::string_view ValueFormat::operator()(double value) {
  const std::size_t i = special(value);
  if (i < specials_.size()) {
    if (form_ == SpecialForm::Empty) return "";
    return form_ == SpecialForm::Names ? kNames[i] : kNumberTexts[i];
  }
  const auto result = std::to_chars(text_, text_ + sizeof text_, value);
  return {text_, static_cast<std::size_t>(result.ptr - text_)};
}

std::string ValueFormat::tenDigits(double value) {
  if (special(value) < specials_.size()) return std::string((*this)(value));
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value == 0 ? 0.0 : value);  // without a sign
  return text;
}

std::optional<double> ValueFormat::number(double value) const {
  const std::size_t i = special(value);
  if (i == specials_.size()) return value;
  return form_ == SpecialForm::Numbers ? std::optional(kNumbers[i]) : std::nullopt;
}

std::optional<double> ValueFormat::parse(std::string_view text) const {
  for (int i = 0; i < ZDB_SV_COUNT; ++i) {
    if (text == kNames[i]) return specials_[i];
  }
  double value = 0;
  // Infinities and NaNs, which could be read as well, have names of their own here.
  return readNumber(text, value) && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<double> readModelValue(std::string_view text) {
  static const ValueFormat format({kNaN, kNaN, kInfinity, -kInfinity, 0});
  for (const auto& [name, value] :
       {std::pair("inf", kInfinity), {"+inf", kInfinity}, {"-inf", -kInfinity}}) {
    if (zdb::contract::isSameText(text, name)) return value;
  }
  const bool hasSign = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
  return format.parse(hasSign ? text.substr(1) : text);
}

}  // namespace zdb::tool
