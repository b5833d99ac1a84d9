#include "api/guard.h"

#include <cstdio>

namespace zdb {

int outOfMemory(const char* function, ZDB& db) noexcept {
  db.setLastError("Out of memory in %s", function);
  std::printf("%s\n", db.lastError());
  std::fflush(stdout);
  return 0;
}

int unexpectedException(const char* function, ZDB& db, const std::exception& exception) noexcept {
  db.setLastError("Unexpected exception in %s: %s", function, exception.what());
  return 0;
}

}  // namespace zdb
