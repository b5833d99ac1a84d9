// What the five loaders may differ in, over all of them; and what a script cannot say of one.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cctype>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "loaders/zxf.h"

namespace {

using namespace zdb::loaders;

// One companion function as its loader keeps it.
struct FunctionCase {
  std::string name;
  std::string codes;                    // of its signature, as the tests' companion prints them
  std::function<const void*()> target;  // where the pointer leads
  std::function<bool()> call;           // with zeros and nulls; whether it gave zero
  const void* stub;                     // where the pointer led before anything was loaded
};

template <typename Result, typename... Arguments>
FunctionCase functionCase(const char* name, Result (**pointer)(Arguments...),
                          const std::vector<int>& codes) {
  std::string text = std::to_string(codes.size() - 1) + ":";
  for (const int code : codes) text += " " + std::to_string(code);
  return {name, text, [pointer] { return std::bit_cast<const void*>(*pointer); },
          [pointer] { return (*pointer)(Arguments{}...) == Result{}; },
          std::bit_cast<const void*>(*pointer)};
}

// Each layout of these makes another one of the next.
// clang-format off
#define FOR_EACH_OPERATION(OF, X)                                                           \
  OF(X, GetReadyD) OF(X, LibraryLoaded) OF(X, LibraryUnload) OF(X, CorrectLibraryVersion)   \
  OF(X, SetScreenIndicator) OF(X, SetExitIndicator) OF(X, SetErrorCallback)                 \
  OF(X, SetAPIErrorCount)
// clang-format on

struct LoaderCase {
  std::string prefix;
  std::string decoration;
  std::string file;  // default file name
  int version;
  std::vector<FunctionCase> functions;
#define MEMBER(X, name) decltype(&X##name) name;
  FOR_EACH_OPERATION(MEMBER, zxf)
};

std::vector<FunctionCase> functionsOf(const std::string& prefix) {
#define UNPACK(...) __VA_ARGS__
#define FUNCTION(name, result, parameters, codes) functionCase(#name, &name, {UNPACK codes}),
  std::vector<FunctionCase> functions = {
#define ZDB_FUNCTION FUNCTION
#include "contract/zxffunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "contract/zmifunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "contract/zrtfunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "contract/zlxfunctions.def"
#define ZDB_FUNCTION FUNCTION
#include "contract/zstfunctions.def"
  };
  std::erase_if(functions, [&](const auto& each) { return each.name.rfind(prefix, 0) != 0; });
  return functions;
}

#define OPERATION(X, name) X##name,
#define LOADER(X, DECORATION, FILE, VERSION) \
  { #X, DECORATION, FILE, VERSION, functionsOf(#X), FOR_EACH_OPERATION(OPERATION, X) }
const std::vector<LoaderCase> kLoaders = {
    LOADER(zxf, "C__", "/libzxfcclib64.so", 9), LOADER(zmi, "C", "/libzkitdclib64.so", 26),
    LOADER(zrt, "C", "/libzkitdclib64.so", 7), LOADER(zlx, "C", "/libzlxmdclib64.so", 2),
    LOADER(zst, "C", "/libzkitdclib64.so", 4)};

const std::string kGood = COMPANION_DIR "good";

// Tells the companion of the tests how to misbehave.
void tell(const char* what) {
  setenv("COMPANION", what, 1);
}

std::string upperCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The library file that a function pointer leads to, and the symbol in upper case.
std::string originOf(const FunctionCase& function) {
  Dl_info info{};
  if (dladdr(const_cast<void*>(function.target()), &info) == 0) return "nothing";
  return info.dli_fname + (' ' + upperCase(info.dli_sname == nullptr ? "" : info.dli_sname));
}

bool isOpen(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
}

std::vector<std::string> reports;

int keepReport(int count, const char* msg) {
  reports.push_back(std::to_string(count) + " " + msg);
  return 0;
}

class EachLoader : public testing::TestWithParam<LoaderCase> {
 protected:
  // Errors are recorded instead of ending the process.
  EachLoader() {
    tell("");
    reports.clear();
    report(0, keepReport);
  }
  // Puts the loader's process-wide state back to that of the program's start.
  ~EachLoader() override {
    report(1, nullptr);
    EXPECT_EQ(loader_.LibraryUnload(), 1);
    EXPECT_EQ(load("absent"), 0);  // turns stale pointers into stubs
  }

  void report(int byDefault, ErrorCallback callback) const {
    loader_.SetScreenIndicator(byDefault);
    loader_.SetExitIndicator(byDefault);
    loader_.SetErrorCallback(callback);
    loader_.SetAPIErrorCount(0);
  }
  int load(const std::string& directory) {
    return loader_.GetReadyD(directory.c_str(), msg_, sizeof msg_);
  }

  const LoaderCase& loader_ = GetParam();
  char msg_[1024] = "old text";
};

TEST_P(EachLoader, AnySpellingOfTheNames_ResolvesEveryFunctionToItsOwnSymbol) {
  for (const std::string directory : {kGood.c_str(), COMPANION_DIR "mixed", REAL_COMPANIONS}) {
    ASSERT_EQ(load(directory), 1) << msg_;
    EXPECT_STREQ(msg_, "");
    EXPECT_EQ(loader_.LibraryLoaded(), 1);
    EXPECT_EQ(loader_.CorrectLibraryVersion(msg_, sizeof msg_), 1) << msg_;
    for (const FunctionCase& function : loader_.functions) {
      if (directory == REAL_COMPANIONS && function.name == "zxfAcronymAdd") {
        EXPECT_EQ(function.target(), function.stub) << "not offered";
        continue;
      }
      EXPECT_EQ(originOf(function),
                directory + loader_.file + " " + upperCase(loader_.decoration + function.name));
    }
    ASSERT_EQ(loader_.LibraryUnload(), 1);
    EXPECT_EQ(loader_.LibraryLoaded(), 0);
  }
}

TEST_P(EachLoader, FailedLoad_GivesReasonClosesLibraryAndResetsPointers) {
  const std::string tooOld = "client " + std::to_string(loader_.version) + " met";
  const struct {
    std::string variant;
    const char* told;
    std::string reason;  // a part of it
  } kCases[] = {{"nosymbol", "", "'" + loader_.decoration + loader_.functions.back().name + "'"},
                {"noversion", "", "XAPIVersion'"},
                {"good", "old", tooOld},
                // Objects of zst are made without a directory.
                {"nocreated", "old", loader_.prefix == "zst" ? tooOld : "XCreateD'"},
                {"absent", "", "/absent" + loader_.file + ": cannot open"}};
  for (const auto& c : kCases) {
    tell("");
    ASSERT_EQ(load(kGood), 1) << msg_;
    ASSERT_EQ(loader_.LibraryUnload(), 1);  // which leaves pointers to what is gone
    tell(c.told);
    EXPECT_EQ(load(COMPANION_DIR + c.variant), 0) << c.variant;
    EXPECT_NE(std::string(msg_).find(c.reason), std::string::npos) << msg_;
    EXPECT_EQ(loader_.LibraryLoaded(), 0);
    EXPECT_FALSE(isOpen(COMPANION_DIR + c.variant + loader_.file)) << c.variant;
    for (const FunctionCase& each : loader_.functions) EXPECT_EQ(each.target(), each.stub);
  }
}

TEST_P(EachLoader, Stubs_ReportAndGiveZero) {
  std::vector<std::string> expected;
  const auto callAll = [&](bool isRefused) {
    for (const FunctionCase& each : loader_.functions) {
      const std::string why =
          isRefused ? each.name + " with " + each.codes : "Library needs to be initialized first";
      expected.push_back(std::to_string(expected.size() + 1) + " " + each.name +
                         " could not be loaded: " + why);
      EXPECT_TRUE(each.call()) << each.name;
    }
  };
  tell("refuses all");
  callAll(false);
  ASSERT_EQ(load(kGood), 1);
  EXPECT_STREQ(msg_, "");
  callAll(true);
  ASSERT_EQ(loader_.LibraryUnload(), 1);
  callAll(false);
  EXPECT_EQ(reports, expected);
}

INSTANTIATE_TEST_SUITE_P(All, EachLoader, testing::ValuesIn(kLoaders),
                         [](const auto& each) { return each.param.prefix; });

TEST(ZxfLoader, CallbackExitOrScreen_EndTheProcessOrPrint) {
  const auto exited = testing::ExitedWithCode(123);
  const auto showOutput = [] { dup2(STDERR_FILENO, STDOUT_FILENO); };  // all that can be seen
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^lost\n$");
  zxfSetScreenIndicator(0);
  EXPECT_EXIT((showOutput(), zxfErrorHandling("lost")), exited, "^$");
  zxfSetErrorCallback(keepReport);
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
  const std::string file = kGood + "/libzxfcclib64.so";
  tell("slow");
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
                    : zxfCreateD(object, kGood.c_str(), nullptr, 0);
    });
    zxfRec* last = std::exchange(objects[0], nullptr);
    inThreads(zxfFree);
    EXPECT_EQ(zxfLibraryUnload(), 0) << "an increment was lost";
    EXPECT_EQ(zxfFree(&last), 1);
    EXPECT_EQ(zxfLibraryUnload(), 1) << "a decrement was lost";
    EXPECT_FALSE(isOpen(file)) << "opened more than once";
  }
  zxfFiniMutexes();
}

}  // namespace
