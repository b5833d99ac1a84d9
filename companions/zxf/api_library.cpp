// Handles, versions and signatures.
#include <cstdio>
#include <cstring>
#include <mutex>

#include "zxf/api.h"
#include "zxf/object.h"
#include "zxf/offered.h"

namespace zxfile {

namespace {

// Process-wide, unlike everything else here, so threads with a handle each may meet in it.
std::mutex loadPathMutex;
char loadPath[256];

}  // namespace

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
  zdb::contract::Interface offered = zdb::contract::kZxf;
  if (isMissing) offered.functions = {};
  return zdb::contract::checkSignature(offered, function, argumentCount, codes, message);
}

int C__XAPIVersion(int clientApi, char* message, int* status) {
  return zdb::contract::checkVersion(zdb::contract::kZxf, clientApi, message, status);
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
