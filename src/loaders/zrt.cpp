#include "loaders/zrt.h"

#include "loaders/definition.h"

namespace zdb::loaders {

#define ZDB_FUNCTION ZDB_DEFINE_FUNCTION
#include "loaders/zrtfunctions.def"

namespace {

constexpr Entry kFunctions[] = {
#define ZDB_FUNCTION ZDB_ENTRY
#include "loaders/zrtfunctions.def"
};

constexpr Description kDescription{
    .defaultFile = "libzkitdclib64.so",
    .apiVersion = 7,
    .decoration = "C",
    .create = "zrtXCreate",
    .createD = "CzrtXCreateD",
    .free = "zrtXFree",
    .check = "CzrtXCheck",
    .version = "CzrtXAPIVersion",
    .setLoadPath = "CzrtSetLoadPath",
    .getLoadPath = "CzrtGetLoadPath",
    .functions = kFunctions,
};

}  // namespace

ZDB_DEFINE_LOADER(zrt);
ZDB_DEFINE_CREATE_DD(zrt);

}  // namespace zdb::loaders
