#include <exception>
#include <new>

#include "kit/api.h"
#include "kit/modelfile.h"
#include "kit/modelfile_build.h"
#include "zkitdclib.h"

namespace {

void* readInstance(const char* file, const char* data, const char* systemDirectory) {
  if (file == nullptr) throw zkitfile::FileError("no model file given");
  try {
    const zkitfile::FileModel model = zkitfile::readModelFile(file, data);
    return zkitfile::buildInstance(model, systemDirectory);
  } catch (const zkitfile::Complaint& complaint) {
    throw complaint.of(file);
  }
}

}  // namespace

int zkitReadModel(const char* file, const char* data, const char* systemDirectory, void** instance,
                  char* message, int size) {
  zkit::copyText("", message, size);
  if (instance == nullptr) {
    zkit::copyText("the output for the instance must not be null", message, size);
    return 0;
  }
  *instance = nullptr;
  try {
    *instance = readInstance(file, data, systemDirectory);
    return 1;
  } catch (const std::bad_alloc&) {
    zkit::copyText("not enough memory to read the model file", message, size);
  } catch (const std::exception& error) {
    zkit::copyText(error.what(), message, size);
  }
  return 0;
}
