#include "loaders/zxf.h"

#include "loaders/definition.h"

namespace zdb::loaders {

#define ZDB_FUNCTION ZDB_DEFINE_FUNCTION
#include "loaders/zxffunctions.def"

namespace {

constexpr Entry kFunctions[] = {
#define ZDB_FUNCTION ZDB_ENTRY
#include "loaders/zxffunctions.def"
};

constexpr Description kDescription{
    .defaultFile = "libzxfcclib64.so",
    .apiVersion = 9,
    .decoration = "C__",
    .create = "XCreate",
    .createD = "XCreateD",
    .free = "XFree",
    .check = "C__XCheck",
    .version = "C__XAPIVersion",
    .setLoadPath = "C__zxfSetLoadPath",
    .getLoadPath = "C__zxfGetLoadPath",
    .functions = kFunctions,
};

}  // namespace

ZDB_DEFINE_LOADER(zxf);
ZDB_DEFINE_CREATE_DD(zxf);

}  // namespace zdb::loaders
