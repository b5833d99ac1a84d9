#include <new>

#include "kit/modelfile/build.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/process.h"
#include "kit/modelfile/read.h"
#include "shared/boundary.h"
#include "zkitdclib.h"

using namespace zdb::kit::modelfile;
using namespace zdb::boundary;

namespace {

void tell(const std::exception& error, const char* file, char* message, int size) {
  const auto* unnamed = dynamic_cast<const ReadError*>(&error);
  if (unnamed != nullptr) {
    copyText(unnamed->of(file).what(), message, size);
  } else if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
    copyText("not enough memory to read the model file", message, size);
  } else {
    copyText(error.what(), message, size);
  }
}

}  // namespace

int zkitReadModel(const char* file, const char* data, const char* systemDirectory, void** instance,
                  char* message, int size) {
  return zkitReadModelX(file, data, systemDirectory, 0, instance, message, size);
}

int zkitReadModelX(const char* file, const char* data, const char* systemDirectory, int flags,
                   void** instance, char* message, int size) {
  copyText("", message, size);
  if (instance == nullptr) {
    copyText("the output for the instance must not be null", message, size);
    return 0;
  }
  *instance = nullptr;
  const auto read = [=]() -> void* {
    if (file == nullptr) throw FileError("no model file given");
    if ((flags & ~ZKIT_ALLOW_FILES) != 0) throw FileError("unknown flags for reading a model file");
    FileLimits limits;
    limits.files = (flags & ZKIT_ALLOW_FILES) != 0;
    return buildInstance(readModelFile(file, data, limits), systemDirectory);
  };
  *instance = guarded(static_cast<void*>(nullptr), read,
                      [=](const std::exception& error) { tell(error, file, message, size); });
  return *instance == nullptr ? 0 : 1;
}

int zkitConfinement(char* message, int size) {
  copyText("", message, size);
  const auto find = [=] {
    const std::string answer = tryConfinementApart();
    const std::size_t end = answer.find('\n');
    copyText(answer.substr(end + 1), message, size);
    const std::string strength = answer.substr(0, end);
    return strength == "full"      ? ZKIT_CONFINED
           : strength == "partial" ? ZKIT_PARTLY_CONFINED
                                   : ZKIT_UNCONFINED;
  };
  return guarded(static_cast<int>(ZKIT_UNCONFINED), find,
                 [=](const std::exception& error) { copyText(error.what(), message, size); });
}
