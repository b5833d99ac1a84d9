#include "loaders/zlx.h"

#include "loaders/definition.h"

namespace zdb::loaders {

#define ZDB_FUNCTION ZDB_DEFINE_FUNCTION
#include "loaders/zlxfunctions.def"

namespace {

constexpr Entry kFunctions[] = {
#define ZDB_FUNCTION ZDB_ENTRY
#include "loaders/zlxfunctions.def"
};

constexpr Description kDescription{
    .defaultFile = "libzlxmdclib64.so",
    .apiVersion = 2,
    .decoration = "C",
    .create = "zlxXCreate",
    .createD = "CzlxXCreateD",
    .free = "zlxXFree",
    .check = "CzlxXCheck",
    .version = "CzlxXAPIVersion",
    .setLoadPath = "CzlxSetLoadPath",
    .getLoadPath = "CzlxGetLoadPath",
    .functions = kFunctions,
};

}  // namespace

ZDB_DEFINE_LOADER(zlx);
ZDB_DEFINE_CREATE_DD(zlx);

}  // namespace zdb::loaders
