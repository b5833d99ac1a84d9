// The model instance library: the handle zmiRec, its loader and its functions as pointers.
// operations.h describes the loader operations, zmifunctions.def lists the functions.
#pragma once

#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zmi);
ZDB_DECLARE_CREATE_DD(zmi);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zmifunctions.def"

}  // namespace zdb::loaders
