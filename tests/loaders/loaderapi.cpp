#include "loaders/loaderapi.h"

#include <dlfcn.h>

#include <cstring>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "loaders/zxf.h"

namespace L = zdb::loaders;

const void* FunctionCase::target() const {
  const void* address = nullptr;
  std::memcpy(&address, pointer, sizeof address);
  return address;
}

namespace {

template <typename Rec, typename Operation>
int untyped(void** handle, Operation operation) {
  if (handle == nullptr) return operation(nullptr);
  Rec* typed = static_cast<Rec*>(*handle);
  const int result = operation(&typed);
  *handle = typed;
  return result;
}

#define OPERATIONS(X, FILE, API)                                                                \
  .prefix = #X, .file = FILE, .apiVersion = API, .getReady = L::X##GetReady,                    \
  .getReadyD = L::X##GetReadyD, .getReadyL = L::X##GetReadyL,                                   \
  .create =                                                                                     \
      [](void** h, char* m, int n) {                                                            \
        return untyped<L::X##Rec>(h, [=](L::X##Rec** p) { return L::X##Create(p, m, n); });     \
      },                                                                                        \
  .createD =                                                                                    \
      [](void** h, const char* d, char* m, int n) {                                             \
        return untyped<L::X##Rec>(h, [=](L::X##Rec** p) { return L::X##CreateD(p, d, m, n); }); \
      },                                                                                        \
  .createL =                                                                                    \
      [](void** h, const char* d, char* m, int n) {                                             \
        return untyped<L::X##Rec>(h, [=](L::X##Rec** p) { return L::X##CreateL(p, d, m, n); }); \
      },                                                                                        \
  .free = [](void** h) { return untyped<L::X##Rec>(h, L::X##Free); },                           \
  .loaded = L::X##LibraryLoaded, .unload = L::X##LibraryUnload,                                 \
  .correctVersion = L::X##CorrectLibraryVersion, .getLoadPath = L::X##GetLoadPath,              \
  .getScreen = L::X##GetScreenIndicator, .setScreen = L::X##SetScreenIndicator,                 \
  .getException = L::X##GetExceptionIndicator, .setException = L::X##SetExceptionIndicator,     \
  .getExit = L::X##GetExitIndicator, .setExit = L::X##SetExitIndicator,                         \
  .getCallback = L::X##GetErrorCallback, .setCallback = L::X##SetErrorCallback,                 \
  .getErrorCount = L::X##GetAPIErrorCount, .setErrorCount = L::X##SetAPIErrorCount,             \
  .errorHandling = L::X##ErrorHandling, .initMutexes = L::X##InitMutexes,                       \
  .finiMutexes = L::X##FiniMutexes

#define REFUSED(decoration, name, codes, ...)                           \
  .callRefused = [] { return L::name(__VA_ARGS__); }, .refused = #name, \
  .refusedExported = decoration #name, .refusedCodes = codes

#define DECORATED(decoration, name) {decoration #name, &L::name},
#define PLAIN(name, result, parameters, codes) DECORATED("C", name)

const char* const kKit = "libzkitdclib64.so";

std::vector<LoaderApi> makeLoaders() {
  return {
      {OPERATIONS(zxf, "libzxfcclib64.so", 9),
       REFUSED("C__", zxfAcronymAdd, "3: 3 11 11 3", nullptr, "a", "b", 1),
       .functions =
           {
#define ZDB_FUNCTION(name, result, parameters, codes) DECORATED("C__", name)
#include "contract/zxffunctions.def"
           }},
      {OPERATIONS(zmi, kKit, 26), REFUSED("C", zmiViewRestore, "0: 3", nullptr),
       .functions =
           {
#define ZDB_FUNCTION PLAIN
#include "contract/zmifunctions.def"
           }},
      {OPERATIONS(zrt, kKit, 7), REFUSED("C", zrtLog, "1: 3 11", nullptr, "a"),
       .functions =
           {
#define ZDB_FUNCTION PLAIN
#include "contract/zrtfunctions.def"
           }},
      {OPERATIONS(zlx, "libzlxmdclib64.so", 2),
       REFUSED("C", zlxColUels, "4: 3 3 4 52 4", nullptr, 0, nullptr, nullptr, nullptr),
       .functions =
           {
#define ZDB_FUNCTION PLAIN
#include "contract/zlxfunctions.def"
           }},
      {OPERATIONS(zst, kKit, 4), REFUSED("C", zstAlgFree, "1: 3 3", nullptr, 1),
       .functions =
           {
#define ZDB_FUNCTION PLAIN
#include "contract/zstfunctions.def"
           }},
  };
}

}  // namespace

const std::vector<LoaderApi>& allLoaders() {
  static const std::vector<LoaderApi> loaders = makeLoaders();
  return loaders;
}

void* companionVariable(const std::string& path, const char* name) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) return nullptr;
  void* variable = dlsym(library, name);
  dlclose(library);  // the loader's own reference keeps it
  return variable;
}

void restore(const LoaderApi& api) {
  api.setCallback(nullptr);
  api.setScreen(1);
  api.setException(0);
  api.setExit(1);
  api.setErrorCount(0);
  EXPECT_EQ(api.unload(), 1);
  api.finiMutexes();
  EXPECT_EQ(api.getReadyD("absent", nullptr, 0), 0);  // turns stale pointers into stubs
}

std::string EachLoader::failureFrom(const std::string& variant) {
  EXPECT_EQ(api_.getReadyD(variantDir(variant).c_str(), msg_, sizeof msg_), 0) << variant;
  EXPECT_EQ(api_.loaded(), 0) << variant;
  return msg_;
}

void EachLoader::loadFrom(const std::string& variant) {
  ASSERT_EQ(api_.getReadyD(variantDir(variant).c_str(), msg_, sizeof msg_), 1) << msg_;
}
