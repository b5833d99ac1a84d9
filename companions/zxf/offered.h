// What this library has of its interface.
#pragma once

#include <string_view>

#include "contract/answers.h"

namespace zdb::zxfile {

/// Whether this library has a function of the interface. Acronyms have no place in the file format.
inline bool isOffered(std::string_view name) {
  return name != "zxfAcronymAdd";
}

}  // namespace zdb::zxfile
