// The signatures that XCheck accepts.
#pragma once

#include <span>
#include <string_view>

namespace zxfile {

inline constexpr int kApiVersion = 9;
// Versions from here on have the same calls with the same meaning.
inline constexpr int kOldestApiVersion = 7;

struct Signature {
  std::string_view name;
  std::span<const int> codes;  // the result's first
};

// All functions of the interface list, those included that are not offered.
std::span<const Signature> signatures();

// Whether this library has a function of the list. Acronyms have no place in the file format.
inline bool isOffered(std::string_view name) {
  return name != "zxfAcronymAdd";
}

}  // namespace zxfile
