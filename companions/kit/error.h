// The error class of the kit.
#pragma once

#include <stdexcept>

namespace zdb::kit {

/// What a call of the host's header cannot do, in words for the host.
struct KitError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace zdb::kit
