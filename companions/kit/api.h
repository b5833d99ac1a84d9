// The exported functions that the database's loader looks up. Names, prototypes and type codes come
// from the lists that the loader uses; doc/reference/model-kit.md describes the functions.
//
// Conventions: results are nonzero on success unless a list states otherwise; a call with a null
// handle or a number out of range returns 0 and changes nothing. Text buffers hold 256 bytes unless
// a size is passed. The dictionary and the environment of an instance belong to the instance: XFree
// must not be called for them.
#pragma once

#include "contract/answers.h"

#define ZKIT_EXPORT __attribute__((visibility("default")))

// The answers of each prefix to a loader that checks it.
#define ZKIT_DEFINE_CHECKS(X, Interface)                                                         \
  int C##X##XCheck(const char* function, int argumentCount, const int* codes, char* message) {   \
    return zdb::contract::checkSignature(zdb::contract::k##Interface, function, argumentCount,   \
                                         codes, message);                                        \
  }                                                                                              \
  int C##X##XAPIVersion(int clientApi, char* message, int* status) {                             \
    return zdb::contract::checkVersion(zdb::contract::k##Interface, clientApi, message, status); \
  }

extern "C" {

using zmiHandle = void*;
using zrtHandle = void*;
using zstHandle = void*;
using zlxHandle = void*;

// Each prefix has these in addition to its list.
#define ZKIT_DECLARE_LIBRARY(X)                                                           \
  ZKIT_EXPORT void X##XCreate(void** handle);                                             \
  ZKIT_EXPORT void X##XFree(void** handle);                                               \
  ZKIT_EXPORT int C##X##XCheck(const char* function, int argumentCount, const int* codes, \
                               char* message);                                            \
  ZKIT_EXPORT int C##X##XAPIVersion(int clientApi, char* message, int* status)

ZKIT_DECLARE_LIBRARY(zmi);
ZKIT_DECLARE_LIBRARY(zrt);
ZKIT_DECLARE_LIBRARY(zst);
ZKIT_DECLARE_LIBRARY(zlx);
ZKIT_EXPORT void CzmiXCreateD(void** handle, const char* dir);
ZKIT_EXPORT void CzrtXCreateD(void** handle, const char* dir);
ZKIT_EXPORT void CzlxXCreateD(void** handle, const char* dir);

#define ZDB_KIT_FUNCTION(name, result, parameters, codes) ZKIT_EXPORT result C##name parameters;
#include "contract/kitfunctions.def"
}
