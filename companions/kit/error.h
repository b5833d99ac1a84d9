// The error class of the kit, and how its messages show texts and numbers.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zdb::kit {

/// An error in a call of a host; the text is for the host.
struct KitError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A text as messages of the kit show it.
inline std::string quoted(std::string_view text) {
  return ">" + std::string(text) + "<";
}

/// A number as messages of the kit show it, in six digits.
inline std::string shown(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

}  // namespace zdb::kit
