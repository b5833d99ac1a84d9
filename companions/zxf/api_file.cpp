// Opening, closing, errors and special values.
#include <algorithm>
#include <cstdio>

#include "zxf/api.h"
#include "zxf/object.h"

using namespace zdb::zxfile;

namespace {

// Opens a file; an error is counted and its number also returned. The errors of the previous file
// are cleared.
template <typename Open>
int opened(void* zxf, int* error, Open open) {
  const int result = guarded(zxf, [&](Object& object) {
    requireAll(error);
    object.requireClosed();
    object.errors.clear();
    open(object);
    return 1;
  });
  if (error == nullptr) return 0;
  if (result != 0) {
    *error = 0;
  } else {
    *error = zxf == nullptr ? static_cast<int>(Errc::NullArgument)
                            : static_cast<Object*>(zxf)->errors.last();
  }
  return result;
}

}  // namespace

int C__zxfOpenRead(void* zxf, const char* file, int* error) {
  return opened(zxf, error, [&](Object& object) {
    requireAll(file);
    object.reader = std::make_unique<Reader>(file);
  });
}

int C__zxfOpenWrite(void* zxf, const char* file, const char* producer, int* error) {
  return opened(zxf, error, [&](Object& object) {
    requireAll(file, producer);
    object.writer = std::make_unique<Writer>(file, producer);
  });
}

int C__zxfClose(void* zxf) {
  return guarded(zxf, [](Object& object) {
    if (object.reader != nullptr) {
      object.reader.reset();
      return 1;
    }
    if (object.writer == nullptr) fail(Errc::NoFileOpen);
    // A caller that has not ended a symbol can still do so; a writer that has failed is unusable.
    struct Dropper {
      Object& object;
      ~Dropper() {
        if (object.writer->broken()) object.writer.reset();
      }
    } const dropper{object};
    object.writing().publish();
    return 1;
  });
}

int C__zxfErrorStr(void* zxf, int error, char* text) {
  if (zxf == nullptr && text != nullptr) {
    return zdb::boundary::guarded(0, [=] { return ErrorLog().describe(error, text) ? 1 : 0; });
  }
  return guarded(zxf, [=](const Object& object) {
    requireAll(text);
    return object.errors.describe(error, text) ? 1 : 0;
  });
}

int C__zxfErrorCount(void* zxf) {
  return guarded(zxf, [](Object& object) { return object.errors.count(); });
}

int C__zxfGetLastError(void* zxf) {
  return guarded(zxf, [](Object& object) { return object.errors.take(); });
}

int C__zxfGetSpecialValues(void* zxf, double* values) {
  return guarded(zxf, [&](Object& object) {
    requireAll(values);
    std::copy(object.written.begin(), object.written.end(), values);
    return 1;
  });
}

int C__zxfSetSpecialValues(void* zxf, const double* values) {
  return guarded(zxf, [&](Object& object) {
    requireAll(values);
    std::copy_n(values, kSpecialSlots, object.written.begin());
    object.delivered = object.written;
    return 1;
  });
}

int C__zxfSetReadSpecialValues(void* zxf, const double* values) {
  return guarded(zxf, [&](Object& object) {
    requireAll(values);
    std::copy_n(values, kSpecialSlots, object.delivered.begin());
    return 1;
  });
}
