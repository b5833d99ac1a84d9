#pragma once

#include <charconv>
#include <cmath>
#include <string_view>
#include <type_traits>

namespace zdb::tool {

/// Whether the whole text is a number of this type, which may be an infinity but not a NaN.
template <typename Number>
bool readNumber(std::string_view text, Number& number) {
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, number);
  if constexpr (std::is_floating_point_v<Number>) {
    if (std::isnan(number)) return false;
  }
  return error == std::errc() && at == end;
}

}  // namespace zdb::tool
