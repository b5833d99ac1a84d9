#include "loaders/loaderapi.h"

#include <bit>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

namespace L = zdb::loaders;

namespace {

template <typename Result, typename... Arguments>
FunctionCase functionCase(const std::string& name, Result (**pointer)(Arguments...),
                          const std::vector<int>& codes) {
  FunctionCase function;
  function.name = name;
  function.exported = (name.rfind("zxf", 0) == 0 ? "C__" : "C") + name;
  function.codes = std::to_string(codes.size() - 1) + ":";
  for (const int code : codes) function.codes += " " + std::to_string(code);
  function.target = [pointer] { return std::bit_cast<const void*>(*pointer); };
  function.call = [pointer] { return (*pointer)(Arguments{}...) == Result{}; };
  function.stub = function.target();
  return function;
}

std::vector<FunctionCase> functionsOf(const std::string& prefix) {
#define UNPACK(...) __VA_ARGS__
#define FUNCTION(name, result, parameters, codes) functionCase(#name, &L::name, {UNPACK codes}),
  std::vector<FunctionCase> functions = {
#define ZDB_FUNCTION FUNCTION
#include "loaders/zxffunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "loaders/zmifunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "loaders/zrtfunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "loaders/zlxfunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "loaders/zstfunctions.def"
  };
  std::erase_if(functions, [&](const auto& each) { return each.name.rfind(prefix, 0) != 0; });
  return functions;
}

#define OPERATION(X, name) L::X##name,
#define LOADER(X, FILE, VERSION) \
  { #X, FILE, VERSION, functionsOf(#X), FOR_EACH_OPERATION(OPERATION, X) }

}  // namespace

const std::vector<LoaderApi>& allLoaders() {
  static const std::vector<LoaderApi> loaders = {
      LOADER(zxf, "libzxfcclib64.so", 9), LOADER(zmi, "libzkitdclib64.so", 26),
      LOADER(zrt, "libzkitdclib64.so", 7), LOADER(zlx, "libzlxmdclib64.so", 2),
      LOADER(zst, "libzkitdclib64.so", 4)};
  return loaders;
}

void Loaders::TearDown() {
  L::zxfSetExceptionIndicator(0);
  L::zxfSetAPIErrorCount(0);
  L::zxfFiniMutexes();
  for (const LoaderApi& api : allLoaders()) {
    api.SetErrorCallback(nullptr);
    api.SetScreenIndicator(1);
    api.SetExitIndicator(1);
    EXPECT_EQ(api.LibraryUnload(), 1);
    EXPECT_EQ(api.GetReadyD("absent", nullptr, 0), 0);  // turns stale pointers into stubs
  }
}
