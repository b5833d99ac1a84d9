// What the library and its companions have agreed on: the five interfaces, each with its functions
// as a list (the .def files of this folder), their type codes, version and exported names. The
// loaders ask for these and the companions answer from them.
#pragma once

#include <span>

#include "contract/extras.h"
#include "contract/functiontypes.h"

namespace zdb::contract {

/// An interface of a companion library.
struct Interface {
  const char* file;        ///< the library's name for the dynamic linker
  const char* name;        ///< what the library calls itself in messages
  int version;             ///< of the calls and their meanings
  int oldestVersion;       ///< from which on they are the same
  const char* decoration;  ///< stands before the name of every function
  const char* create;      ///< makes an object
  const char* createD;     ///< the same with a directory; null where there is none
  const char* free;
  const char* check;  ///< whether a function has these type codes
  const char* versionQuery;
  const char* setLoadPath;  ///< this one and the next may be missing in the library
  const char* getLoadPath;
  std::span<const Signature> functions;
  const char* extra = nullptr;  ///< exported name of a function that may be missing; see extras.h
};

#define ZDB_UNPACK(...) __VA_ARGS__
#define ZDB_DEFINE_SIGNATURE(name, result, parameters, codes) \
  inline constexpr int name##Codes[] = {ZDB_UNPACK codes};    \
  inline constexpr Signature name##Signature{#name, name##Codes};
#define ZDB_SIGNATURE(name, result, parameters, codes) name##Signature,

#define ZDB_FUNCTION ZDB_DEFINE_SIGNATURE
#include "contract/zxffunctions.def"
inline constexpr Signature kZxfFunctions[] = {
#define ZDB_FUNCTION ZDB_SIGNATURE
#include "contract/zxffunctions.def"
};

#define ZDB_FUNCTION ZDB_DEFINE_SIGNATURE
#include "contract/zmifunctions.def"
inline constexpr Signature kZmiFunctions[] = {
#define ZDB_FUNCTION ZDB_SIGNATURE
#include "contract/zmifunctions.def"
};

#define ZDB_FUNCTION ZDB_DEFINE_SIGNATURE
#include "contract/zrtfunctions.def"
inline constexpr Signature kZrtFunctions[] = {
#define ZDB_FUNCTION ZDB_SIGNATURE
#include "contract/zrtfunctions.def"
};

#define ZDB_FUNCTION ZDB_DEFINE_SIGNATURE
#include "contract/zlxfunctions.def"
inline constexpr Signature kZlxFunctions[] = {
#define ZDB_FUNCTION ZDB_SIGNATURE
#include "contract/zlxfunctions.def"
};

#define ZDB_FUNCTION ZDB_DEFINE_SIGNATURE
#include "contract/zstfunctions.def"
inline constexpr Signature kZstFunctions[] = {
#define ZDB_FUNCTION ZDB_SIGNATURE
#include "contract/zstfunctions.def"
};

/// Data exchange files.
inline constexpr Interface kZxf = {
    .file = "libzxfcclib64.so",
    .name = "zxfcclib",
    .version = 9,
    .oldestVersion = 7,
    .decoration = "C__",
    .create = "XCreate",
    .createD = "XCreateD",
    .free = "XFree",
    .check = "C__XCheck",
    .versionQuery = "C__XAPIVersion",
    .setLoadPath = "C__zxfSetLoadPath",
    .getLoadPath = "C__zxfGetLoadPath",
    .functions = kZxfFunctions,
    .extra = kReadColumns,
};

// The interfaces of the model kit, whose functions are named alike.
#define ZDB_KIT_INTERFACE(x, library, ownVersion, makerInDirectory, list)      \
  {                                                                            \
    .file = "lib" library "64.so", .name = library, .version = ownVersion,     \
    .oldestVersion = ownVersion, .decoration = "C", .create = #x "XCreate",    \
    .createD = makerInDirectory, .free = #x "XFree", .check = "C" #x "XCheck", \
    .versionQuery = "C" #x "XAPIVersion", .setLoadPath = "C" #x "SetLoadPath", \
    .getLoadPath = "C" #x "GetLoadPath", .functions = list                     \
  }

/// Model instances.
inline constexpr Interface kZmi =
    ZDB_KIT_INTERFACE(zmi, "zkitdclib", 26, "CzmiXCreateD", kZmiFunctions);

/// The environment that solves them.
inline constexpr Interface kZrt =
    ZDB_KIT_INTERFACE(zrt, "zkitdclib", 7, "CzrtXCreateD", kZrtFunctions);

/// Their dictionaries.
inline constexpr Interface kZlx =
    ZDB_KIT_INTERFACE(zlx, "zlxmdclib", 2, "CzlxXCreateD", kZlxFunctions);

/// The list of solvers.
inline constexpr Interface kZst = ZDB_KIT_INTERFACE(zst, "zkitdclib", 4, nullptr, kZstFunctions);

#undef ZDB_KIT_INTERFACE
#undef ZDB_UNPACK
#undef ZDB_DEFINE_SIGNATURE
#undef ZDB_SIGNATURE

}  // namespace zdb::contract
