// The configuration library: the handle zstRec, its loader and its functions as pointers.
// operations.h describes the loader operations, zstfunctions.def lists the functions.
#pragma once

#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zst);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zstfunctions.def"

}  // namespace zdb::loaders
