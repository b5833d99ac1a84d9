// Finding and opening a shared library, and its symbols under any of three spellings.
#pragma once

#include "loaders/message.h"

namespace zdb::loaders {

/// Opens `file` in `dir` and resolves all its symbols at once; with a null or empty `dir` the
/// dynamic linker searches for it. On failure returns null, with "Could not load shared library
/// ..." in `msg`. The caller closes the library with closeLibrary.
void* openLibrary(const char* dir, const char* file, const Message& msg);
void closeLibrary(void* library);

/// Returns the symbol `name` in lower case, as written or in upper case, whichever resolves first.
/// On failure returns null and sets `error` to the system's text for the last attempt, valid until
/// the thread's next call to the dynamic linker.
void* loadSym(void* library, const char* name, const char*& error);

}  // namespace zdb::loaders
