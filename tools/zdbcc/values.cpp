#include "values.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace zdb::tool {

namespace {

constexpr const char* kNames[ZDB_SV_COUNT] = {"Undef", "NA", "+Inf", "-Inf", "Eps"};

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

ValueFormat::ValueFormat(const Database& db) {
  db.require(c__zdbgetspecialvalues(db.handle(), specials_));
}

std::string_view ValueFormat::operator()(double value) {
  for (int i = 0; i < ZDB_SV_COUNT; ++i) {
    // By bit pattern, as one of them is not a number.
    if (bits(value) == bits(specials_[i])) return kNames[i];
  }
  const auto result = std::to_chars(text_, text_ + sizeof text_, value);
  return {text_, static_cast<std::size_t>(result.ptr - text_)};
}

std::optional<double> ValueFormat::parse(std::string_view text) const {
  for (int i = 0; i < ZDB_SV_COUNT; ++i) {
    if (text == kNames[i]) return specials_[i];
  }
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isWhole = error == std::errc() && end == text.data() + text.size();
  // Infinities and NaNs, which from_chars would accept, have names of their own here.
  return isWhole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}  // namespace zdb::tool
