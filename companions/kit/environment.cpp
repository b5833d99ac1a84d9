#include "kit/environment.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "contract/answers.h"
#include "kit/error.h"
#include "shared/boundary.h"

namespace zdb::kit {

namespace {

constexpr std::size_t kMaxDirectory = 255;

std::string checked(std::string directory) {
  if (directory.empty() || directory.back() != '/') directory += '/';
  if (directory.size() <= kMaxDirectory) return directory;
  throw KitError("The name of the system directory has more than 255 bytes: >" + directory + "<");
}

std::string directoryOfThisCode() {
  static const char anchor = 0;
  Dl_info info = {};
  if (dladdr(&anchor, &info) == 0 || info.dli_fname == nullptr) return "./";
  std::error_code failure;
  const std::filesystem::path file = std::filesystem::absolute(info.dli_fname, failure);
  return failure ? "./" : file.parent_path() / "";
}

thread_local char failure[zdb::contract::kMessageSize] = "";

// Determined when the library is loaded: the loader may know a relative name only, which is wrong
// once the host changes its working directory.
const std::string kOwnDirectory = directoryOfThisCode();

}  // namespace

void noteFailure(const char* why) noexcept {
  zdb::boundary::copyText(why, failure, sizeof failure);
}

const char* lastFailure() noexcept {
  return failure;
}

const std::string& ownDirectory() {
  return kOwnDirectory;
}

std::string besideKit(const std::string& file) {
  for (const char* folder : {"", "../lib/"}) {
    std::string path = ownDirectory() + folder + file;
    if (access(path.c_str(), F_OK) == 0) return path;
  }
  return "";
}

Environment::Environment(const char* systemDirectory)
    : systemDirectory_(checked(systemDirectory == nullptr ? ownDirectory() : systemDirectory)) {}

}  // namespace zdb::kit
