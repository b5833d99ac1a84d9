// The configuration library: the handle zstRec, its loader and its functions as pointers.
// operations.h tells what the loader operations do, zstfunctions.def lists the functions.
#ifndef ZDB_LOADERS_ZST_H
#define ZDB_LOADERS_ZST_H

#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zst);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zstfunctions.def"

}  // namespace zdb::loaders

#endif
