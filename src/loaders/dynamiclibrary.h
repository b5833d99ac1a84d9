// Finding and opening a shared library, and its symbols under any of three spellings.
#ifndef ZDB_LOADERS_DYNAMICLIBRARY_H
#define ZDB_LOADERS_DYNAMICLIBRARY_H

#include "loaders/message.h"

namespace zdb::loaders {

// Opens `file` in `dir` with all symbols resolved at once; a null or empty dir leaves the search to
// the dynamic linker. Returns null with "Could not load shared library ..." in msg on failure. The
// caller closes the library with closeLibrary.
void* openLibrary(const char* dir, const char* file, const Message& msg);
void closeLibrary(void* library);

// Returns the symbol called `name` in lower case, as written or in upper case, whichever resolves
// first. On failure the result is null and `error` the system's text on the last attempt, valid
// until the thread's next call to the dynamic linker.
void* loadSym(void* library, const char* name, const char*& error);

}  // namespace zdb::loaders

#endif
