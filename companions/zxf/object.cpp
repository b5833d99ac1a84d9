#include "zxf/object.h"

#include <new>

namespace zdb::zxfile {

void Object::count(const std::exception& error) {
  if (dynamic_cast<const AlreadyReported*>(&error) != nullptr) return;
  if (const auto* failure = dynamic_cast<const Failure*>(&error)) {
    errors.add(failure->code(), failure->what());
    return;
  }
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
  errors.add(isMemory ? Errc::OutOfMemory : Errc::Unexpected, isMemory ? "" : error.what());
  if (writer != nullptr) writer->setBroken();
}

}  // namespace zdb::zxfile
