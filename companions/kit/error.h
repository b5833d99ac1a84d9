// The error class of the kit, and how its messages quote texts.
#pragma once

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

}  // namespace zdb::kit
