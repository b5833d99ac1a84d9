// The data exchange file library: the handle zxfRec, its loader and its functions as pointers.
// operations.h describes the loader operations, zxffunctions.def lists the functions.
#pragma once

#include "contract/extras.h"
#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zxf);
ZDB_DECLARE_CREATE_DD(zxf);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zxffunctions.def"

/// Reads many records at a time; null if the library that is loaded cannot.
contract::ReadColumns zxfReadColumns();

}  // namespace zdb::loaders
