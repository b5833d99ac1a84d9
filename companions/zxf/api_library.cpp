// Handles, versions and signatures.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "zxf/api.h"
#include "zxf/object.h"
#include "zxf/signature.h"

namespace zxfile {

namespace {

// Two passes over the list: the codes as arrays, then one row for each function.
#define ZXF_LIST(...) __VA_ARGS__
#define ZDB_FUNCTION(name, result, parameters, codes) \
  constexpr int name##Codes[] = {ZXF_LIST codes};
#include "loaders/zxffunctions.def"

constexpr Signature kSignatures[] = {
#define ZDB_FUNCTION(name, result, parameters, codes) {#name, name##Codes},
#include "loaders/zxffunctions.def"
};

// Process-wide, unlike everything else here, so threads with a handle each may meet in it.
std::mutex loadPathMutex;
char loadPath[256];

int answer(int result, char* message, const char* format, const char* name) {
  if (message != nullptr) std::snprintf(message, 256, format, name);
  return result;
}

}  // namespace

std::span<const Signature> signatures() {
  return kSignatures;
}

}  // namespace zxfile

using namespace zxfile;

void XCreate(void** handle) {
  if (handle == nullptr) return;
  *handle = nullptr;
  try {
    *handle = new Object;  // the caller's until XFree
  } catch (const std::bad_alloc&) {
    return;
  }
}

void XCreateD(void** handle, const char* dir) {
  C__zxfSetLoadPath(dir);
  XCreate(handle);
}

void XFree(void** handle) {
  if (handle == nullptr) return;
  delete static_cast<Object*>(*handle);
  *handle = nullptr;
}

int C__XCheck(const char* function, int argumentCount, const int* codes, char* message) {
  const char* name = function == nullptr ? "" : function;
  const auto signature =
      std::find_if(std::begin(kSignatures), std::end(kSignatures),
                   [&](const Signature& candidate) { return candidate.name == name; });
  if (signature == std::end(kSignatures) || !isOffered(name)) {
    return answer(0, message, "zxfcclib: %.200s cannot be found in library.", name);
  }
  if (argumentCount < 0 || signature->codes.size() != static_cast<std::size_t>(argumentCount) + 1) {
    return answer(0, message, "zxfcclib: %.200s has wrong number of arguments.", name);
  }
  if (codes == nullptr || !std::equal(signature->codes.begin(), signature->codes.end(), codes)) {
    return answer(0, message, "zxfcclib: %.200s has wrong argument types.", name);
  }
  return answer(1, message, "%s", "");
}

int C__XAPIVersion(int clientApi, char* message, int* status) {
  int ignored = 0;
  int& state = status == nullptr ? ignored : *status;
  state = 0;
  if (clientApi < kOldestApiVersion) {
    const std::string text = printed(
        "zxfcclib: The API is too old for the used library, API version: %d, library version: %d",
        clientApi, kApiVersion);
    return answer(0, message, "%s", text.c_str());
  }
  if (clientApi > kApiVersion) {
    state = 3;
    return answer(1, message, "%s", "zxfcclib: Client version is newer than this DLL.");
  }
  if (clientApi < kApiVersion) {
    state = 2;
    return answer(1, message, "%s",
                  "zxfcclib: Client version is compatible to this version of the DLL.");
  }
  state = 1;
  return answer(1, message, "%s", "zxfcclib: Client version and DLL version are the same.");
}

void C__zxfSetLoadPath(const char* dir) {
  const std::scoped_lock lock(loadPathMutex);
  std::snprintf(loadPath, sizeof loadPath, "%s", dir == nullptr ? "" : dir);
}

void C__zxfGetLoadPath(char* dir) {
  if (dir == nullptr) return;
  const std::scoped_lock lock(loadPathMutex);
  std::memcpy(dir, loadPath, sizeof loadPath);
}
