#include "loaders/zmi.h"

#include "loaders/definition.h"

namespace zdb::loaders {

#define ZDB_FUNCTION ZDB_DEFINE_FUNCTION
#include "loaders/zmifunctions.def"

namespace {

constexpr Entry kFunctions[] = {
#define ZDB_FUNCTION ZDB_ENTRY
#include "loaders/zmifunctions.def"
};

constexpr Description kDescription{
    .defaultFile = "libzkitdclib64.so",
    .apiVersion = 26,
    .decoration = "C",
    .create = "zmiXCreate",
    .createD = "CzmiXCreateD",
    .free = "zmiXFree",
    .check = "CzmiXCheck",
    .version = "CzmiXAPIVersion",
    .setLoadPath = "CzmiSetLoadPath",
    .getLoadPath = "CzmiGetLoadPath",
    .functions = kFunctions,
};

}  // namespace

ZDB_DEFINE_LOADER(zmi);
ZDB_DEFINE_CREATE_DD(zmi);

}  // namespace zdb::loaders
