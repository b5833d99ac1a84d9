// The model dictionary library: the handle zlxRec, its loader and its functions as pointers.
// operations.h describes the loader operations, zlxfunctions.def lists the functions, and walks.h
// what walks give.
#pragma once

#include "contract/walks.h"
#include "loaders/operations.h"

namespace zdb::loaders {

ZDB_DECLARE_LOADER(zlx);
ZDB_DECLARE_CREATE_DD(zlx);

#define ZDB_FUNCTION ZDB_DECLARE_FUNCTION
#include "contract/zlxfunctions.def"

}  // namespace zdb::loaders
