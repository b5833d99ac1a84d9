// Which shared libraries are the project's own.
#pragma once

#include <string_view>

namespace zdb::test {

/// Whether a file, by its name, is the library, one of its companions or a plug-in.
inline bool isOurLibrary(std::string_view file) {
  return file.ends_with("64.so") || file.find("/libzdbcclib.so") != file.npos;
}

}  // namespace zdb::test
