#include "loaders/dynamiclibrary.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "contract/names.h"

namespace zdb::loaders {

namespace {

constexpr int kPathSize = 512;
constexpr std::size_t kNameSize = 128;

/// Returns false if the path is too long. A cut path would open another file than the caller
/// asked for.
bool buildPath(char (&path)[kPathSize], const char* dir, const char* file) {
  const std::size_t length = dir == nullptr ? 0 : std::strlen(dir);
  const char* slash = length > 0 && dir[length - 1] != '/' ? "/" : "";
  return std::snprintf(path, kPathSize, "%s%s%s", length > 0 ? dir : "", slash, file) < kPathSize;
}

void* findConverted(void* library, const char* name, char (*convert)(char)) {
  char converted[kNameSize] = {};
  for (std::size_t i = 0; name[i] != '\0' && i + 1 < kNameSize; ++i)
    converted[i] = convert(name[i]);
  return dlsym(library, converted);
}

}  // namespace

void* openLibrary(const char* dir, const char* file, const Message& msg) {
  char path[kPathSize];
  const bool fits = buildPath(path, dir, file);
  void* library = fits ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (library == nullptr)
    msg.format("Could not load shared library %s: %s", path,
               fits ? dlerror() : std::strerror(ENAMETOOLONG));
  return library;
}

void closeLibrary(void* library) {
  dlclose(library);
}

void* loadSym(void* library, const char* name, const char*& error) {
  void* symbol = findConverted(library, name, contract::lowerCase);
  if (symbol == nullptr) symbol = dlsym(library, name);
  if (symbol == nullptr) symbol = findConverted(library, name, contract::upperCase);
  error = symbol == nullptr ? dlerror() : nullptr;
  return symbol;
}

}  // namespace zdb::loaders
