// The database's loaders find the kit's libraries, accept them, and take every function from them.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

namespace {

using namespace zdb::loaders;

struct Function {
  const char* name;
  const void* address;
};

std::string originOf(const void* function) {
  Dl_info info{};
  if (dladdr(function, &info) == 0) return "";
  const std::string file = info.dli_fname;
  return file.substr(file.rfind('/') + 1) + ":" + (info.dli_sname == nullptr ? "" : info.dli_sname);
}

#define ZDB_FUNCTION(name, result, parameters, codes) \
  {#name, reinterpret_cast<const void*>(zdb::loaders::name)},

TEST(KitLoader, EveryFunction_LeadsIntoTheKit) {
  std::array<char, 256> message{};
  ASSERT_EQ(zmiGetReadyD(KIT_DIRECTORY, message.data(), 256), 1) << message.data();
  ASSERT_EQ(zrtGetReadyD(KIT_DIRECTORY, message.data(), 256), 1) << message.data();
  ASSERT_EQ(zstGetReadyD(KIT_DIRECTORY, message.data(), 256), 1) << message.data();
  ASSERT_EQ(zlxGetReadyD(KIT_DIRECTORY, message.data(), 256), 1) << message.data();
  const Function inKit[] = {
#include "contract/zmifunctions.def"
#define ZDB_FUNCTION(name, result, parameters, codes) \
  {#name, reinterpret_cast<const void*>(zdb::loaders::name)},
#include "contract/zrtfunctions.def"
#define ZDB_FUNCTION(name, result, parameters, codes) \
  {#name, reinterpret_cast<const void*>(zdb::loaders::name)},
#include "contract/zstfunctions.def"
  };
  const Function inDictionary[] = {
#define ZDB_FUNCTION(name, result, parameters, codes) \
  {#name, reinterpret_cast<const void*>(zdb::loaders::name)},
#include "contract/zlxfunctions.def"
  };
  for (const Function& function : inKit) {
    EXPECT_EQ(originOf(function.address), std::string("libzkitdclib64.so:C") + function.name);
  }
  for (const Function& function : inDictionary) {
    EXPECT_EQ(originOf(function.address), std::string("libzlxmdclib64.so:C") + function.name);
  }
  for (const auto correctVersion : {zmiCorrectLibraryVersion, zrtCorrectLibraryVersion,
                                    zstCorrectLibraryVersion, zlxCorrectLibraryVersion}) {
    EXPECT_EQ(correctVersion(message.data(), 256), 1) << message.data();
  }
}

TEST(KitLoader, ObjectsOfTheLoader_WorkAndUnload) {
  std::array<char, 256> message{};
  zmiRec* instance = nullptr;
  ASSERT_EQ(zmiCreateDD(&instance, KIT_DIRECTORY, message.data(), 256), 1) << message.data();
  EXPECT_EQ(zmiN(instance), 0);
  ASSERT_EQ(zlxGetReadyD(KIT_DIRECTORY, message.data(), 256), 1) << message.data();
  auto* dictionary = static_cast<zlxRec*>(zmiDict(instance));
  ASSERT_NE(dictionary, nullptr);
  EXPECT_EQ(zlxNUels(dictionary), 0);
  EXPECT_EQ(zmiLibraryUnload(), 0);
  EXPECT_EQ(zmiFree(&instance), 1);
  EXPECT_EQ(zmiLibraryUnload(), 1);
  EXPECT_EQ(zlxLibraryUnload(), 1);
}

}  // namespace
