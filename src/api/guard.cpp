#include "api/guard.h"

#include <cstdio>
#include <stdexcept>

namespace zdb {

int outOfMemory(const char* function, ZDB& db) noexcept {
  db.setLastError(ErrorNoMemory, "Out of memory in %s", function);
  std::printf("%s\n", db.lastError());
  std::fflush(stdout);
  return 0;
}

ErrorKind kindOf(const std::exception& exception) noexcept {
  // What the standard library throws for an argument such as a null file name.
  const bool isArgument = dynamic_cast<const std::logic_error*>(&exception) != nullptr;
  return isArgument ? ErrorArgument : ErrorOther;
}

int unexpectedException(const char* function, ZDB& db, const std::exception& exception) noexcept {
  db.setLastError(kindOf(exception), "Unexpected exception in %s: %s", function, exception.what());
  return 0;
}

}  // namespace zdb
