#include "kit/solvers/glpkplugin.h"

#include <dlfcn.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "kit/environment.h"

namespace zdb::kit {

namespace {

// The plug-in, which is never unloaded: its objects may live as long as the process.
struct Search {
  const GlpkPlugin* plugin = nullptr;
  std::string reason;

  Search() {
    const std::string file = besideKit(kGlpkPlugin);
    if (file.empty()) {
      reason = std::string("its plug-in ") + ownDirectory() + kGlpkPlugin +
               " is not there (Debian package " + kGlpkPackage + ")";
      return;
    }
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
      const char* why = dlerror();
      reason = why == nullptr ? file : why;
      return;
    }
    reason = takeFrom(library);
    if (!reason.empty()) reason.insert(0, file + " ");
  }

  std::string takeFrom(void* library) {
    const auto entry = reinterpret_cast<GlpkEntry>(dlsym(library, kGlpkEntry));
    if (entry == nullptr) return std::string("has no function ") + kGlpkEntry;
    const GlpkPlugin* found = entry();
    if (found->kitVersion != std::string(ZKIT_VERSION)) {
      return std::string("is of version ") + found->kitVersion + ", and this kit of " +
             ZKIT_VERSION + ": install both again";
    }
    plugin = found;
    return "";
  }
};

const Search& search() {
  static const Search once;
  return once;
}

}  // namespace

const char* glpkReason() {
  return search().reason.c_str();
}

const char* glpkVersion() {
  return search().plugin == nullptr ? "" : search().plugin->version();
}

std::unique_ptr<Solver> makeGlpk() {
  if (search().plugin == nullptr) throw std::runtime_error(search().reason);
  return search().plugin->make();
}

}  // namespace zdb::kit
