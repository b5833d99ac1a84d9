// Which functions of its interface this library has.
#pragma once

#include <string_view>

#include "contract/answers.h"

namespace zdb::zxfile {

/// Whether this library has a function of the interface. The file format does not support acronyms.
inline bool isOffered(std::string_view name) {
  return name != "zxfAcronymAdd";
}

}  // namespace zdb::zxfile
