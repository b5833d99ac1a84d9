// Handles, versions and signatures.
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
  const bool isMissing = function != nullptr && !isOffered(function);
  const std::span<const Signature> offered = isMissing ? std::span<const Signature>() : kSignatures;
  return companion::checkSignature(kInterface, offered, function, argumentCount, codes, message);
}

int C__XAPIVersion(int clientApi, char* message, int* status) {
  return companion::checkVersion(kInterface, clientApi, message, status);
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
