// The exported functions. Their names, prototypes and type codes come from the one list that the
// database's loader uses as well; doc/reference/exchange-file.md tells what each does.
//
// Conventions: `zxf` is a handle from XCreate, used by one thread at a time. Results are nonzero on
// success; a failure returns 0, adds an error to the handle and, unless stated otherwise, changes
// nothing else. Text buffers hold 256 bytes. No pointer may be null except keys of
// symbols without dimensions.
#pragma once

// NOLINTBEGIN(bugprone-reserved-identifier): the loader looks for exactly these names.
extern "C" {

using zxfHandle = void*;

#define ZXF_EXPORT __attribute__((visibility("default")))

/// Creates a handle, null if memory runs out. A directory that is given also becomes the load path.
ZXF_EXPORT void XCreate(void** handle);
ZXF_EXPORT void XCreateD(void** handle, const char* dir);
/// Frees a handle and sets it to null; a null handle is ignored. A file that was being written is
/// discarded: only zxfClose moves it to its target.
ZXF_EXPORT void XFree(void** handle);

/// Returns 1 if the library has `function` with exactly these type codes: argumentCount + 1 of
/// them, the result's first, without the handle. Otherwise 0, with the reason in `message`.
ZXF_EXPORT int C__XCheck(const char* function, int argumentCount, const int* codes, char* message);

/// Compares interface versions. Status 1: the same as the client's; 2: the client's is older and
/// still supported; 3: the client's is newer; 0, with result 0: the client's is too old.
ZXF_EXPORT int C__XAPIVersion(int clientApi, char* message, int* status);

/// The directory that this library was loaded from, as its loader told it; at most 255 characters.
ZXF_EXPORT void C__zxfSetLoadPath(const char* dir);
ZXF_EXPORT void C__zxfGetLoadPath(char* dir);

/// The list also has what this library does not support, see isOffered(): declared, not defined.
#define ZDB_FUNCTION(name, result, parameters, codes) ZXF_EXPORT result C__##name parameters;
#include "contract/zxffunctions.def"

/// contract::ReadColumns: as zxfDataReadRaw, many records at a time.
ZXF_EXPORT int C__zxfDataReadRawColumns(void* zxf, int room, int* const* keys, int keyStep,
                                        double* const* values, int valueStep, int* count);
}
// NOLINTEND(bugprone-reserved-identifier)
