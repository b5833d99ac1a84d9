// Handles, versions and signatures.
#include <cstdio>
#include <mutex>

#include "zxf/api.h"
#include "zxf/object.h"
#include "zxf/offered.h"

using namespace zdb::zxfile;

namespace {

// Unlike everything else here, this is shared by all handles of the process, and so by threads.
std::mutex loadPathMutex;
char loadPath[256];

}  // namespace

void XCreate(void** handle) {
  zdb::boundary::makeObject(handle, [] { return new Object; });  // the caller's until XFree
}

void XCreateD(void** handle, const char* dir) {
  C__zxfSetLoadPath(dir);
  XCreate(handle);
}

void XFree(void** handle) {
  zdb::boundary::freeObject<Object>(handle);
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
  zdb::boundary::guarded(0, [dir] {
    const std::scoped_lock lock(loadPathMutex);
    return std::snprintf(loadPath, sizeof loadPath, "%s", dir == nullptr ? "" : dir);
  });
}

void C__zxfGetLoadPath(char* dir) {
  if (dir == nullptr) return;
  zdb::boundary::guarded(0, [dir] {
    const std::scoped_lock lock(loadPathMutex);
    return std::snprintf(dir, sizeof loadPath, "%s", loadPath);
  });
}
