// A companion's function list as data: each function's signature, process-wide pointer and stub.
#pragma once

#include "contract/functiontypes.h"

namespace zdb::loaders {

/// One function of the table. The pointer and the stub are objects of the same function
/// pointer type, which the loader need not know: it copies their bytes, as POSIX allows for
/// what dlsym returns.
struct Entry {
  const contract::Signature* signature;
  void* pointer;
  const void* stub;
};

}  // namespace zdb::loaders
