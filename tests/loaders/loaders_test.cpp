// What a script cannot say of a loader: that it ends the process, and that threads may share it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>
#include <utility>
#include <vector>

#include "loaders/zxf.h"

namespace {

using namespace zdb::loaders;

TEST(ZxfLoader, CallbackExitOrScreen_EndTheProcessOrPrint) {
  const auto exited = testing::ExitedWithCode(123);
  const auto showOutput = [] { dup2(STDERR_FILENO, STDOUT_FILENO); };  // all that can be seen
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^lost\n$");
  zxfSetScreenIndicator(0);
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^$");
  zxfSetErrorCallback([](int, const char*) { return 0; });
  EXPECT_EXIT(zxfErrorHandling("lost"), exited, "");
  zxfSetExitIndicator(0);
  zxfSetErrorCallback([](int, const char*) { return 1; });
  EXPECT_EXIT(zxfErrorHandling("lost"), exited, "");
  zxfSetErrorCallback(nullptr);
  zxfSetExitIndicator(1);
  zxfSetScreenIndicator(1);
}

// A load that does not wait for another one opens the library again, and closing it once is not
// enough then.
TEST(ZxfLoader, Threads_LoadOnceAndKeepTheCountRight) {
  constexpr int kObjects = 200000;  // enough to see a lost increment
  const std::string folder = COMPANION_DIR "good";
  const std::string file = folder + "/libzxfcclib64.so";
  setenv("COMPANION", "slow", 1);
  zxfInitMutexes();
  zxfInitMutexes();
  for (const bool byFile : {true, false}) {
    std::vector<zxfRec*> objects(4 * kObjects);
    const auto inThreads = [&](const auto& work) {
      std::vector<std::jthread> threads;
      threads.reserve(4);
      for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
          for (int i = 0; i < kObjects; ++i) ASSERT_EQ(work(&objects[t * kObjects + i]), 1);
        });
      }
    };
    inThreads([&](zxfRec** object) {
      return byFile ? zxfCreateL(object, file.c_str(), nullptr, 0)
                    : zxfCreateD(object, folder.c_str(), nullptr, 0);
    });
    zxfRec* last = std::exchange(objects[0], nullptr);
    inThreads(zxfFree);
    EXPECT_EQ(zxfLibraryUnload(), 0) << "an increment was lost";
    EXPECT_EQ(zxfFree(&last), 1);
    EXPECT_EQ(zxfLibraryUnload(), 1) << "a decrement was lost";
    EXPECT_EQ(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "opened more than once";
  }
  zxfFiniMutexes();
}

// It is not asked for by its signature, so that a library that accepts everything can be without.
TEST(ZxfLoader, FunctionThatALibraryMayLack_IsThereOrNull) {
  EXPECT_EQ(zxfReadColumns(), nullptr);
  ASSERT_EQ(zxfGetReadyD(COMPANION_DIR "good", nullptr, 0), 1);
  EXPECT_EQ(zxfReadColumns(), nullptr);
  EXPECT_EQ(zxfLibraryUnload(), 1);
  ASSERT_EQ(zxfGetReadyD(REAL_COMPANIONS, nullptr, 0), 1);
  EXPECT_NE(zxfReadColumns(), nullptr);
  EXPECT_EQ(zxfLibraryUnload(), 1);
  EXPECT_EQ(zxfReadColumns(), nullptr);
}

}  // namespace
