// Data exchange files in memory and through descriptors.
#include <cstdlib>
#include <memory>

#include "api/forward.h"
#include "api/guard.h"
#include "io/descriptor.h"
#include "zdbx.h"

extern "C" {

int zdbx_init_from_fd(zdbHandle_t db, int fd) {
  return zdb::guarded(__func__, zdb::inside(db),
                      [&](zdb::Call call) { return zdb::initFromDescriptor(call.db, fd); });
}

int zdbx_init_from_memory(zdbHandle_t db, const void* bytes, size_t count) {
  return zdb::guarded(__func__, zdb::inside(db), [&](zdb::Call call) {
    return call.given(bytes, "bytes") && zdb::initFromMemory(call.db, bytes, count);
  });
}

int zdbx_write_fd(zdbHandle_t db, int fd, int noDomainCheck) {
  return zdb::guarded(__func__, zdb::inside(db), [&](zdb::Call call) {
    return zdb::writeToDescriptor(call.db, fd, noDomainCheck);
  });
}

int zdbx_write_memory(zdbHandle_t db, int noDomainCheck, void** bytes, size_t* count) {
  return zdb::guarded(__func__, zdb::inside(db), [&](zdb::Call call) {
    if (!call.given(bytes, "bytes") || !call.given(count, "count")) return false;
    *bytes = nullptr;
    std::unique_ptr<void, decltype(&std::free)> all(nullptr, &std::free);
    std::size_t size = 0;
    const auto take = [&](std::size_t wanted) {
      size = wanted;
      all.reset(std::malloc(wanted));
      if (all == nullptr) throw std::bad_alloc();
      return all.get();
    };
    if (!zdb::writeToMemory(call.db, noDomainCheck, take)) return false;
    *bytes = all.release();
    *count = size;
    return true;
  });
}

void zdbx_free_bytes(void* bytes) {
  std::free(bytes);
}

}  // extern "C"
