// What every companion answers to a loader that checks its signatures and its version.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "contract/interfaces.h"

namespace zdb::contract {

inline constexpr int kMessageSize = 256;  ///< bytes of every message buffer

template <typename... Values>
int answer(int result, char* message, const char* format, Values... values) noexcept {
  if (message != nullptr) std::snprintf(message, kMessageSize, format, values...);
  return result;
}

/// 1 when the interface has `function` with exactly these codes, argumentCount + 1 of them.
/// Otherwise 0 and the reason in `message`, which may be null.
inline int checkSignature(const Interface& own, const char* function, int argumentCount,
                          const int* codes, char* message) noexcept {
  const char* name = function == nullptr ? "" : function;
  const auto found = std::find_if(
      own.functions.begin(), own.functions.end(),
      [name](const Signature& candidate) { return std::string_view(candidate.name) == name; });
  if (found == own.functions.end()) {
    return answer(0, message, "%s: %.200s cannot be found in library.", own.name, name);
  }
  if (argumentCount < 0 || found->codes.size() != static_cast<std::size_t>(argumentCount) + 1) {
    return answer(0, message, "%s: %.200s has wrong number of arguments.", own.name, name);
  }
  if (codes == nullptr || !std::equal(found->codes.begin(), found->codes.end(), codes)) {
    return answer(0, message, "%s: %.200s has wrong argument types.", own.name, name);
  }
  return answer(1, message, "%s", "");
}

/// Status 1: the same version as the client's; 2: the client's is older and still served; 3: the
/// client's is newer; 0 and result 0: too old. `message` and `status` may be null.
inline int checkVersion(const Interface& own, int clientApi, char* message, int* status) noexcept {
  int ignored = 0;
  int& state = status == nullptr ? ignored : *status;
  state = 0;
  if (clientApi < own.oldestVersion) {
    return answer(
        0, message,
        "%s: The API is too old for the used library, API version: %d, library version: %d",
        own.name, clientApi, own.version);
  }
  if (clientApi > own.version) {
    state = 3;
    return answer(1, message, "%s: Client version is newer than this DLL.", own.name);
  }
  if (clientApi < own.version) {
    state = 2;
    return answer(1, message, "%s: Client version is compatible to this version of the DLL.",
                  own.name);
  }
  state = 1;
  return answer(1, message, "%s: Client version and DLL version are the same.", own.name);
}

}  // namespace zdb::contract
