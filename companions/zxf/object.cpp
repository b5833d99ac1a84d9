#include "zxf/object.h"

#include <new>

namespace zdb::zxfile {

void Object::count(const std::exception& error) {
  if (dynamic_cast<const ReportedError*>(&error) != nullptr) return;
  if (const auto* known = dynamic_cast<const ZxfError*>(&error)) {
    errors.add(known->code(), known->what());
    return;
  }
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
  errors.add(isMemory ? Errc::OutOfMemory : Errc::Unexpected, isMemory ? "" : error.what());
  if (writer != nullptr) writer->setBroken();
}

}  // namespace zdb::zxfile
