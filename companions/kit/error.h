// The error class of the kit, and how its messages quote.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace zdb::kit {

/// What a call of the host's header cannot do, in words for the host.
struct KitError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// As the kit's messages show what they were given.
inline std::string quoted(std::string_view text) {
  return ">" + std::string(text) + "<";
}

}  // namespace zdb::kit
