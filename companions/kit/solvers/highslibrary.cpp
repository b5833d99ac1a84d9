#include "kit/solvers/highslibrary.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "kit/environment.h"

namespace zdb::kit {

namespace {

constexpr const char* kVariable = "ZKIT_HIGHS";
constexpr const char* kFolder = "zkit-highs/";
constexpr int kMajor = 1;
constexpr int kFirstMinor = 11;  // the callbacks of those before are others
constexpr int kLastMinor = 15;   // the last one that was tried

const std::string kVersions = std::to_string(kMajor) + "." + std::to_string(kFirstMinor) + " to " +
                              std::to_string(kMajor) + "." + std::to_string(kLastMinor);

// Takes a function from a library. Whether it has it.
template <typename Pointer>
bool take(void* library, const char* name, Pointer& function) {
  function = reinterpret_cast<Pointer>(dlsym(library, ("Highs_" + std::string(name)).c_str()));
  return function != nullptr;
}

// The name of a function that the library lacks, or "".
std::string takeAll(void* library, HighsLibrary& api) {
#define TAKE(name) \
  if (!take(library, #name, api.name)) return "Highs_" #name
  TAKE(create);
  TAKE(destroy);
  TAKE(getSizeofHighsInt);
  TAKE(setBoolOptionValue);
  TAKE(setIntOptionValue);
  TAKE(setDoubleOptionValue);
  TAKE(setStringOptionValue);
  TAKE(passLp);
  TAKE(passMip);
  TAKE(changeObjectiveOffset);
  TAKE(changeColsCostBySet);
  TAKE(changeColsBoundsBySet);
  TAKE(changeRowsBoundsBySet);
  TAKE(changeCoeff);
  TAKE(setSolution);
  TAKE(clearSolver);
  TAKE(zeroAllClocks);
  TAKE(run);
  TAKE(getModelStatus);
  TAKE(getIntInfoValue);
  TAKE(getDoubleInfoValue);
  TAKE(getSolution);
  TAKE(getBasis);
  TAKE(setBasis);
  TAKE(setCallback);
  TAKE(startCallback);
  TAKE(getCallbackDataOutItem);
#undef TAKE
  return "";
}

bool hasPlainInts(const HighsLibrary& api) {
  void* highs = api.create();
  const bool isPlain = highs != nullptr && api.getSizeofHighsInt(highs) == sizeof(int);
  if (highs != nullptr) api.destroy(highs);
  return isPlain;
}

// Why a library that was opened cannot be used, or "".
std::string takeFrom(void* library, HighsLibrary& api) {
  const bool hasVersion = take(library, "version", api.version) &&
                          take(library, "versionMajor", api.versionMajor) &&
                          take(library, "versionMinor", api.versionMinor);
  if (!hasVersion) return "is not HiGHS: it has no Highs_version";
  const int minor = api.versionMinor();
  if (api.versionMajor() != kMajor || minor < kFirstMinor || minor > kLastMinor) {
    return "is version " + std::string(api.version()) + ", and this kit knows " + kVersions;
  }
  const std::string lacking = takeAll(library, api);
  if (!lacking.empty()) return "has no function " + lacking;
  return hasPlainInts(api) ? "" : "was built with integers of another size";
}

std::vector<std::string> places() {
  const char* chosen = secure_getenv(kVariable);
  if (chosen != nullptr && *chosen != '\0') return {chosen};
  return {ownDirectory() + kFolder + "libhighs.so", "libhighs.so.1", "libhighs.so"};
}

struct Search {
  HighsLibrary api = {};
  std::string reason;

  // The reason is that of a library that is there, else of the place that was tried last.
  Search() {
    for (const std::string& place : places()) {
      void* library = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
      if (library == nullptr) {
        if (reason.empty()) reason = notFound(place);
        continue;
      }
      const std::string wrong = takeFrom(library, api);
      reason = wrong.empty() ? "" : place + " " + wrong;
      if (wrong.empty()) return;
      dlclose(library);
    }
  }

  static std::string notFound(const std::string& place) {
    const char* why = dlerror();
    const bool isChosen = places().size() == 1;
    if (isChosen) return std::string(kVariable) + ": " + (why == nullptr ? place : why);
    return "its library libhighs.so, version " + kVersions + ", was found neither in " +
           ownDirectory() + kFolder + " nor where the system looks; " + kVariable +
           " may name its file";
  }
};

const Search& search() {
  static const Search once;
  return once;
}

}  // namespace

const HighsLibrary* highsLibrary() {
  return search().reason.empty() ? &search().api : nullptr;
}

const char* highsReason() {
  return search().reason.c_str();
}

}  // namespace zdb::kit
