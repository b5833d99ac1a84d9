// The exported functions. Their names, prototypes and type codes come from the one list that the
// database's loader uses as well; doc/exchange-file.md tells what each does.
//
// Conventions: `zxf` is a handle of XCreate, used by one thread at a time. Results are nonzero on
// success; a failure gives 0, adds an error to the handle and changes nothing else unless said.
// Text buffers hold 256 bytes. No pointer may be null except keys of symbols without dimensions.
#pragma once

// NOLINTBEGIN(bugprone-reserved-identifier): the loader looks for exactly these names.
extern "C" {

using zxfHandle = void*;

#define ZXF_EXPORT __attribute__((visibility("default")))

/// Makes a handle, null when memory runs out. With a directory it becomes the load path too.
ZXF_EXPORT void XCreate(void** handle);
ZXF_EXPORT void XCreateD(void** handle, const char* dir);
/// Frees a handle and sets it to null; a null handle is ignored. A file that was being written is
/// dropped: only zxfClose puts it in its place.
ZXF_EXPORT void XFree(void** handle);

/// 1 when the library offers `function` with exactly these codes: argumentCount + 1 of them, the
/// result's first, the handle not counted. Otherwise 0 and the reason in `message`.
ZXF_EXPORT int C__XCheck(const char* function, int argumentCount, const int* codes, char* message);

/// Compares interface versions. Status 1: the same as the client's; 2: the client's is older and
/// still served; 3: the client's is newer; 0 and result 0: too old.
ZXF_EXPORT int C__XAPIVersion(int clientApi, char* message, int* status);

/// The directory that this library was loaded from, as its loader told it; at most 255 characters.
ZXF_EXPORT void C__zxfSetLoadPath(const char* dir);
ZXF_EXPORT void C__zxfGetLoadPath(char* dir);

/// The list also has what this library leaves out, see isOffered(); that is declared and not
/// defined.
#define ZDB_FUNCTION(name, result, parameters, codes) ZXF_EXPORT result C__##name parameters;
#include "contract/zxffunctions.def"
}
// NOLINTEND(bugprone-reserved-identifier)
