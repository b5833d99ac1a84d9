// The loaders of the five companions. Their operations and pointers are declared in the headers
// named after them.
#include <cstring>

#include "loaders/definition.h"
#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "loaders/zxf.h"

namespace zdb::loaders {

namespace {

extern Loader zxfLoader;
extern Loader zmiLoader;
extern Loader zrtLoader;
extern Loader zlxLoader;
extern Loader zstLoader;

}  // namespace

#define ZDB_FUNCTION(...) ZDB_DEFINE_FUNCTION(zxfLoader, __VA_ARGS__)
#include "contract/zxffunctions.def"
namespace {
constexpr Entry zxfTable[] = {
#define ZDB_FUNCTION ZDB_TABLE_ENTRY
#include "contract/zxffunctions.def"
};
constinit Loader zxfLoader(contract::kZxf, zxfTable);
}  // namespace
ZDB_DEFINE_LOADER(zxf);
ZDB_DEFINE_CREATE_DD(zxf);
contract::ReadColumns zxfReadColumns() {
  void* const found = zxfLoader.extra();
  contract::ReadColumns function = nullptr;
  std::memcpy(&function, &found, sizeof function);
  return function;
}

#define ZDB_FUNCTION(...) ZDB_DEFINE_FUNCTION(zmiLoader, __VA_ARGS__)
#include "contract/zmifunctions.def"
namespace {
constexpr Entry zmiTable[] = {
#define ZDB_FUNCTION ZDB_TABLE_ENTRY
#include "contract/zmifunctions.def"
};
constinit Loader zmiLoader(contract::kZmi, zmiTable);
}  // namespace
ZDB_DEFINE_LOADER(zmi);
ZDB_DEFINE_CREATE_DD(zmi);

#define ZDB_FUNCTION(...) ZDB_DEFINE_FUNCTION(zrtLoader, __VA_ARGS__)
#include "contract/zrtfunctions.def"
namespace {
constexpr Entry zrtTable[] = {
#define ZDB_FUNCTION ZDB_TABLE_ENTRY
#include "contract/zrtfunctions.def"
};
constinit Loader zrtLoader(contract::kZrt, zrtTable);
}  // namespace
ZDB_DEFINE_LOADER(zrt);
ZDB_DEFINE_CREATE_DD(zrt);

#define ZDB_FUNCTION(...) ZDB_DEFINE_FUNCTION(zlxLoader, __VA_ARGS__)
#include "contract/zlxfunctions.def"
namespace {
constexpr Entry zlxTable[] = {
#define ZDB_FUNCTION ZDB_TABLE_ENTRY
#include "contract/zlxfunctions.def"
};
constinit Loader zlxLoader(contract::kZlx, zlxTable);
}  // namespace
ZDB_DEFINE_LOADER(zlx);
ZDB_DEFINE_CREATE_DD(zlx);

#define ZDB_FUNCTION(...) ZDB_DEFINE_FUNCTION(zstLoader, __VA_ARGS__)
#include "contract/zstfunctions.def"
namespace {
constexpr Entry zstTable[] = {
#define ZDB_FUNCTION ZDB_TABLE_ENTRY
#include "contract/zstfunctions.def"
};
constinit Loader zstLoader(contract::kZst, zstTable);
}  // namespace
ZDB_DEFINE_LOADER(zst);

}  // namespace zdb::loaders
