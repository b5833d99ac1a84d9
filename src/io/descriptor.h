#pragma once

#include <cstddef>

#include "core/functionref.h"

namespace zdb {

class ZDB;

// Data exchange files without a name. The companion opens files by name, so it gets those of their
// descriptors, which takes a system with /proc. Failures are reported in the database.

/// Like InitFromZXF with the file of a descriptor, which stays the caller's.
bool initFromDescriptor(ZDB& db, int fd);
/// Like InitFromZXF with the bytes of a file, which are copied.
bool initFromMemory(ZDB& db, const void* bytes, std::size_t count);
/// Like WriteZXF; the file is made in memory and then copied to the descriptor, from its place on.
bool writeToDescriptor(ZDB& db, int fd, int noDomainCheck);
/// Like WriteZXF; `take` gets the file's size and returns where its bytes go to.
bool writeToMemory(ZDB& db, int noDomainCheck, FunctionRef<void*(std::size_t size)> take);

}  // namespace zdb
