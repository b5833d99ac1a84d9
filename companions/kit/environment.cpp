#include "kit/environment.h"

#include <dlfcn.h>

#include "kit/model.h"

namespace zkit {

namespace {

constexpr std::size_t kMaxDirectory = 255;

std::string checked(std::string directory) {
  if (directory.empty() || directory.back() != '/') directory += '/';
  if (directory.size() <= kMaxDirectory) return directory;
  throw KitError("The system directory has a name of more than 255 bytes: >" + directory + "<");
}

}  // namespace

std::string ownDirectory() {
  static const char anchor = 0;
  Dl_info info = {};
  if (dladdr(&anchor, &info) == 0 || info.dli_fname == nullptr) return "./";
  const std::string file = info.dli_fname;
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? "./" : file.substr(0, slash + 1);
}

Environment::Environment() : systemDirectory_(checked(ownDirectory())) {}

Environment::Environment(const std::string& systemDirectory)
    : systemDirectory_(checked(systemDirectory)) {}

}  // namespace zkit
