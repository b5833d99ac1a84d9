// The five loaders behind one table of operations, so that a test of a common rule runs over all.
#ifndef ZDB_TESTS_LOADERS_LOADERAPI_H
#define ZDB_TESTS_LOADERS_LOADERAPI_H

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "loaders/operations.h"

// One companion function as the loader keeps it.
struct FunctionCase {
  FunctionCase(const char* exportedName, const void* pointerAddress)
      : exported(exportedName), pointer(pointerAddress), stub(target()) {}

  const void* target() const;

  std::string exported;  // with its decoration
  const void* pointer;   // the address of the loader's function pointer
  const void* stub;      // where the pointer led before anything was loaded
};

struct LoaderApi {
  std::string prefix;
  std::string file;  // default file name
  int apiVersion;
  int (*getReady)(char*, int);
  int (*getReadyD)(const char*, char*, int);
  int (*getReadyL)(const char*, char*, int);
  int (*create)(void**, char*, int);
  int (*createD)(void**, const char*, char*, int);
  int (*createL)(void**, const char*, char*, int);
  int (*free)(void**);
  int (*loaded)();
  int (*unload)();
  int (*correctVersion)(char*, int);
  int (*getLoadPath)(char*);
  int (*getScreen)();
  void (*setScreen)(int);
  int (*getException)();
  void (*setException)(int);
  int (*getExit)();
  void (*setExit)(int);
  zdb::loaders::ErrorCallback (*getCallback)();
  void (*setCallback)(zdb::loaders::ErrorCallback);
  int (*getErrorCount)();
  void (*setErrorCount)(int);
  void (*errorHandling)(const char*);
  void (*initMutexes)();
  void (*finiMutexes)();
  int (*callRefused)();         // calls the function that the variant "refuse" refuses
  std::string refused;          // its name,
  std::string refusedExported;  // how the library exports it
  std::string refusedCodes;     // and the codes of its signature, after the argument count
  std::vector<FunctionCase> functions;
};

const std::vector<LoaderApi>& allLoaders();
inline void PrintTo(const LoaderApi& api, std::ostream* out) {
  *out << api.prefix;
}

// The directory of a variant of the tests' companion.
inline std::string variantDir(const std::string& variant) {
  return std::string(COMPANION_DIR "/") + variant;
}

// A variable of the companion in `path`, which must be loaded already; null otherwise.
void* companionVariable(const std::string& path, const char* name);

// Puts a loader's process-wide state back to that of the program's start.
void restore(const LoaderApi& api);

// Restores all loaders after a test that is about one of them.
class OneLoader : public testing::Test {
 protected:
  void TearDown() override {
    for (const LoaderApi& api : allLoaders()) restore(api);
  }
};

// Runs a test for each loader.
class EachLoader : public testing::TestWithParam<LoaderApi> {
 protected:
  void TearDown() override { restore(api_); }

  std::string path(const std::string& variant) const {
    return variantDir(variant) + "/" + api_.file;
  }
  std::string text() const { return msg_; }
  // The loader's text when it loads from a variant's directory; expects the load to fail.
  std::string failureFrom(const std::string& variant);
  void loadFrom(const std::string& variant);

  const LoaderApi& api_ = GetParam();
  char msg_[256] = "old text";
};

inline std::string loaderName(const testing::TestParamInfo<LoaderApi>& info) {
  return info.param.prefix;
}

#endif
