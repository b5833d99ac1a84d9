// What is to be tested of each of the five loaders, and the companion of the tests that serves all.
#ifndef ZDB_TESTS_LOADERS_LOADERAPI_H
#define ZDB_TESTS_LOADERS_LOADERAPI_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "loaders/zxf.h"

// One companion function as its loader keeps it.
struct FunctionCase {
  std::string name;
  std::string exported;  // with its decoration
  std::string codes;     // of its signature, as a refusal of the tests' companion has them
  std::function<const void*()> target;  // where the pointer leads
  std::function<bool()> call;           // with zeros and nulls; whether it gave zero
  const void* stub;                     // where the pointer led before anything was loaded
};

// What the loaders may differ in. How an operation works is tested with zxf.
#define FOR_EACH_OPERATION(OF, X)                                                                  \
  OF(X, GetReadyD)                                                                                 \
  OF(X, LibraryLoaded) OF(X, LibraryUnload) OF(X, CorrectLibraryVersion) OF(X, SetScreenIndicator) \
      OF(X, SetExitIndicator) OF(X, SetErrorCallback)
struct LoaderApi {
  std::string prefix;
  std::string file;  // default file name
  int version;
  std::vector<FunctionCase> functions;
#define MEMBER(X, name) decltype(&zdb::loaders::X##name) name;
  FOR_EACH_OPERATION(MEMBER, zxf)
#undef MEMBER
};
const std::vector<LoaderApi>& allLoaders();

// Tells the companion of the tests how to misbehave, until the end of the object.
class Told {
 public:
  explicit Told(const std::string& what) { setenv("COMPANION", what.c_str(), 1); }
  ~Told() { unsetenv("COMPANION"); }
  Told(const Told&) = delete;
  Told& operator=(const Told&) = delete;
};

// The directory of a variant of the tests' companion.
inline std::string dir(const std::string& variant) {
  return COMPANION_DIR + variant;
}

// Puts the process-wide state of all loaders back to that of the program's start.
class Loaders : public testing::Test {
 protected:
  void TearDown() override;

  char msg_[1024] = "old text";
};

class EachLoader : public Loaders, public testing::WithParamInterface<LoaderApi> {
 protected:
  int load(const std::string& directory) {
    return api_.GetReadyD(directory.c_str(), msg_, sizeof msg_);
  }
  const LoaderApi& api_ = GetParam();
};

// The operations of one loader.
class ZxfLoader : public Loaders {
 protected:
  int load(const std::string& directory) {
    return zdb::loaders::zxfGetReadyD(directory.c_str(), msg_, sizeof msg_);
  }
  std::string text() const { return msg_; }
};

#endif
