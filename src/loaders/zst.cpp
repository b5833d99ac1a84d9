#include "loaders/zst.h"

#include "loaders/definition.h"

namespace zdb::loaders {

#define ZDB_FUNCTION ZDB_DEFINE_FUNCTION
#include "loaders/zstfunctions.def"

namespace {

constexpr Entry kFunctions[] = {
#define ZDB_FUNCTION ZDB_ENTRY
#include "loaders/zstfunctions.def"
};

constexpr Description kDescription{
    .defaultFile = "libzkitdclib64.so",
    .apiVersion = 4,
    .decoration = "C",
    .create = "zstXCreate",
    .createD = nullptr,
    .free = "zstXFree",
    .check = "CzstXCheck",
    .version = "CzstXAPIVersion",
    .setLoadPath = "CzstSetLoadPath",
    .getLoadPath = "CzstGetLoadPath",
    .functions = kFunctions,
};

}  // namespace

ZDB_DEFINE_LOADER(zst);

}  // namespace zdb::loaders
