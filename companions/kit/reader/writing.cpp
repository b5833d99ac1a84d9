// Takes the place of two functions of the C library that GLPK writes files with, and passes
// on to them.
#include "kit/reader/writing.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdio>

namespace {

int firstError = 0;

void note(bool isDone) {
  if (!isDone && firstError == 0) firstError = errno;
}

template <typename Function>
Function* functionOfLibrary(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the header's names are reserved

extern "C" __attribute__((visibility("default"))) std::size_t fwrite(const void* from,
                                                                     std::size_t size,
                                                                     std::size_t count,
                                                                     FILE* file) {
  static const auto theirs = functionOfLibrary<decltype(fwrite)>("fwrite");
  const std::size_t written = theirs(from, size, count, file);
  note(written == count);
  return written;
}

extern "C" __attribute__((visibility("default"))) int fclose(FILE* file) {
  static const auto theirs = functionOfLibrary<decltype(fclose)>("fclose");
  const int result = theirs(file);
  note(result == 0);
  return result;
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace zdb::kit::modelfile {

int writeError() {
  return firstError;
}

}  // namespace zdb::kit::modelfile
