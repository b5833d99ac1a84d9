#pragma once

#include <string_view>

namespace zdb::tool {

/// What every page of `zdbcc view` has: the files of the folder view, and the SHA-256 of style and
/// script in hexadecimal digits. The build makes them.
struct ViewAssets {
  std::string_view style;
  std::string_view styleHash;
  std::string_view body;
  std::string_view script;
  std::string_view scriptHash;
};

extern const ViewAssets viewAssets;

}  // namespace zdb::tool
