// The signatures that XCheck accepts.
#pragma once

#include <span>
#include <string_view>

#include "common/signatures.h"

namespace zxfile {

using companion::Signature;

// Name, version, and the version from which on calls and meanings are the same.
inline constexpr companion::Interface kInterface = {"zxfcclib", 9, 7};

// All functions of the interface list, those included that are not offered.
std::span<const Signature> signatures();

// Whether this library has a function of the list. Acronyms have no place in the file format.
inline bool isOffered(std::string_view name) {
  return name != "zxfAcronymAdd";
}

}  // namespace zxfile
