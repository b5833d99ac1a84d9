// The solver environment library: the handle zrtRec, its loader and its functions as pointers.
// operations.h tells what the loader operations do, zrtfunctions.def lists the functions.
#ifndef ZDB_LOADERS_ZRT_H
#define ZDB_LOADERS_ZRT_H

#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zrt);
ZDB_DECLARE_CREATE_DD(zrt);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zrtfunctions.def"

}  // namespace zdb::loaders

#endif
