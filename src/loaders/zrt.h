// The solver environment library: the handle zrtRec, its loader and its functions as pointers.
// operations.h describes the loader operations, zrtfunctions.def lists the functions.
#pragma once

#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zrt);
ZDB_DECLARE_CREATE_DD(zrt);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zrtfunctions.def"

}  // namespace zdb::loaders
