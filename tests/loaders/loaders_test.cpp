// Loading, unloading and creating objects, over all five loaders.
#include <dlfcn.h>

#include <cstring>
#include <thread>
#include <utility>
#include <vector>

#include "loaders/loaderapi.h"
#include "loaders/zxf.h"

namespace {

constexpr std::size_t kThreads = 4;
constexpr std::size_t kObjects = 20000;

std::string lowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The library file and the symbol that a function pointer leads to, in lower case.
std::pair<std::string, std::string> originOf(const void* function) {
  Dl_info info{};
  if (dladdr(const_cast<void*>(function), &info) == 0) return {};
  return {info.dli_fname, lowerCase(info.dli_sname == nullptr ? "" : info.dli_sname)};
}

std::vector<const void*> targets(const LoaderApi& api) {
  std::vector<const void*> result;
  for (const FunctionCase& function : api.functions) result.push_back(function.target());
  return result;
}

TEST_P(EachLoader, AnySpellingOfTheNames_ResolvesEveryFunctionToItsOwnSymbol) {
  for (const char* variant : {"good", "lower", "upper"}) {
    loadFrom(variant);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(api_.loaded(), 1);
    for (const FunctionCase& function : api_.functions) {
      const std::pair expected{path(variant), lowerCase(function.exported)};
      EXPECT_EQ(originOf(function.target()), expected);
    }
    ASSERT_EQ(api_.unload(), 1);
    EXPECT_EQ(api_.loaded(), 0);
  }
}

TEST_P(EachLoader, FailedLoad_GivesReasonClosesLibraryAndResetsPointers) {
  std::vector<const void*> stubs;
  for (const FunctionCase& function : api_.functions) stubs.push_back(function.stub);
  const std::string object = api_.prefix == "zxf" ? "C__X" : "C" + api_.prefix + "X";
  const std::string createD = api_.prefix == "zxf" ? "XCreateD" : object + "CreateD";
  const std::vector<std::pair<std::string, std::string>> missing = {
      {"nosymbol", api_.refusedExported},
      {"noversion", object + "APIVersion"},
      {"nocreated", createD}};
  const auto expectClean = [&](const std::string& variant) {
    EXPECT_EQ(companionVariable(path(variant), "test_directory"), nullptr) << variant;
    EXPECT_EQ(targets(api_), stubs) << variant;
  };
  const auto leaveStalePointers = [&] {
    loadFrom("good");
    const std::vector<const void*> good = targets(api_);
    ASSERT_EQ(api_.unload(), 1);
    EXPECT_EQ(targets(api_), good);
  };

  for (const auto& [variant, name] : missing) {
    if (variant == "nocreated" && api_.prefix == "zst") continue;
    leaveStalePointers();
    std::string upper = name;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string expected = "Could not load symbol '" + name + "': ";
    expected.append(path(variant)).append(": undefined symbol: ").append(upper);
    EXPECT_EQ(failureFrom(variant), expected);
    expectClean(variant);
  }
  leaveStalePointers();
  EXPECT_EQ(failureFrom("old"), "client " + std::to_string(api_.apiVersion) + " met");
  expectClean("old");
  leaveStalePointers();
  ASSERT_EQ(dlopen(path("absent").c_str(), RTLD_NOW), nullptr);
  EXPECT_EQ(failureFrom("absent"),
            "Could not load shared library " + path("absent") + ": " + dlerror());
  expectClean("absent");
}

TEST_F(OneLoader, ZstLibraryWithoutCreateD_Loads) {
  const LoaderApi& zst = allLoaders().back();
  ASSERT_EQ(zst.prefix, "zst");
  char msg[256];
  EXPECT_EQ(zst.getReadyD(variantDir("nocreated").c_str(), msg, sizeof msg), 1) << msg;
}

TEST_P(EachLoader, DefaultSearchAndFilePath_FindTheLibrary) {
  ASSERT_EQ(api_.getReady(msg_, sizeof msg_), 1) << msg_;  // by the run path of this program
  EXPECT_EQ(originOf(api_.functions[0].target()).first, path("good"));
  ASSERT_EQ(api_.getReadyD("/nowhere", msg_, sizeof msg_), 1) << "loaded already";
  ASSERT_EQ(api_.unload(), 1);

  ASSERT_EQ(api_.getReadyL((variantDir("lower") + "/companion.so").c_str(), msg_, sizeof msg_), 1);
  ASSERT_EQ(api_.unload(), 1);
  ASSERT_EQ(api_.getReadyL((variantDir("upper") + "/").c_str(), msg_, sizeof msg_), 1) << msg_;
  EXPECT_EQ(originOf(api_.functions[0].target()).first, path("upper"));
  ASSERT_EQ(api_.unload(), 1);

  for (const char* absent : {"/absent.so", "absent.so"}) {
    EXPECT_EQ(api_.getReadyL(absent, msg_, sizeof msg_), 0);
    EXPECT_EQ(text().rfind(std::string("Could not load shared library ") + absent + ": ", 0), 0U);
  }
}

TEST_P(EachLoader, PathThatDoesNotFit_IsRefusedNotCut) {
  const std::string shown = std::string(511, 'd') + ": File name too long";
  char msg[1024];
  for (const std::size_t length : {600U, 511U}) {
    const std::string dir(length, 'd');
    EXPECT_EQ(api_.getReadyD(dir.c_str(), msg, sizeof msg), 0);
    EXPECT_EQ(msg, "Could not load shared library " + shown);
  }
  EXPECT_EQ(api_.getReadyL((std::string(600, 'd') + "/x.so").c_str(), msg, sizeof msg), 0);
  EXPECT_EQ(msg, "Could not load shared library " + shown);

  // One character below the limit the path is tried, and one more makes it too long.
  const std::size_t room = 511 - api_.file.size() - 1;
  std::string dir(room, '/');
  dir.replace(0, variantDir("good").size(), variantDir("good"));
  EXPECT_EQ(api_.getReadyD((dir.substr(0, room - 1) + ".").c_str(), msg, sizeof msg), 1) << msg;
  ASSERT_EQ(api_.unload(), 1);
  EXPECT_EQ(api_.getReadyD((dir + ".").c_str(), msg, sizeof msg), 0);
  EXPECT_STREQ(std::strrchr(msg, ':'), ": File name too long");
}

TEST_P(EachLoader, MessageIsCutToTheBuffer) {
  failureFrom("old");
  const std::string whole = text();
  for (const int size : {1, 2, 10}) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(api_.getReadyD(variantDir("old").c_str(), buffer, size), 0);
    EXPECT_EQ(buffer, whole.substr(0, static_cast<std::size_t>(size) - 1));
    EXPECT_EQ(buffer[size], '#');
  }
  char untouched = '#';
  EXPECT_EQ(api_.getReadyD("absent", &untouched, 0), 0);
  EXPECT_EQ(api_.getReadyD("absent", nullptr, 100), 0);
  EXPECT_EQ(api_.correctVersion(&untouched, 0), 0);
  EXPECT_EQ(untouched, '#');
}

TEST_P(EachLoader, LivingObject_KeepsTheLibraryLoaded) {
  void* first = &first;  // creation overwrites whatever was there
  void* second = nullptr;
  ASSERT_EQ(api_.createD(&first, variantDir("good").c_str(), msg_, sizeof msg_), 1) << msg_;
  ASSERT_EQ(api_.create(&second, msg_, sizeof msg_), 1) << msg_;
  EXPECT_EQ(api_.unload(), 0);
  EXPECT_EQ(api_.free(&first), 1);
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(api_.free(&first), 1) << "a null object is ignored";
  EXPECT_EQ(api_.free(nullptr), 1);
  EXPECT_EQ(api_.unload(), 0) << "the second object is alive";
  EXPECT_EQ(api_.loaded(), 1);
  EXPECT_EQ(api_.free(&second), 1);
  EXPECT_EQ(api_.unload(), 1);
  EXPECT_EQ(api_.unload(), 1) << "unloading twice is harmless";
}

TEST_P(EachLoader, NoObject_IsReportedAndNotCounted) {
  void* object = nullptr;
  loadFrom("good");
  int* makeNothing = static_cast<int*>(companionVariable(path("good"), "test_makeNothing"));
  *makeNothing = 1;
  object = &object;
  EXPECT_EQ(api_.createL(&object, path("good").c_str(), msg_, sizeof msg_), 0);
  EXPECT_EQ(text(), "Error while creating object");
  EXPECT_EQ(object, nullptr);
  *makeNothing = 0;
  EXPECT_EQ(api_.create(nullptr, msg_, sizeof msg_), 0);
  EXPECT_EQ(text(), "Error while creating object");
  ASSERT_EQ(api_.unload(), 1);

  object = &object;
  EXPECT_EQ(api_.createD(&object, "absent", msg_, sizeof msg_), 0);
  EXPECT_EQ(object, nullptr);
}

TEST_F(OneLoader, ZxfDirectory_ReachesLibraryAndObjectOnlyWhenGiven) {
  using namespace zdb::loaders;
  const std::string dir = variantDir("good");
  const std::string file = dir + "/libzxfcclib64.so";
  char msg[256];
  char loadPath[256] = "";
  zxfRec* zxf = nullptr;

  EXPECT_EQ(zxfGetLoadPath(loadPath), 0) << "not loaded";
  ASSERT_EQ(zxfCreate(&zxf, msg, sizeof msg), 1) << msg;
  const char* created = static_cast<char*>(companionVariable(file, "test_directory"));
  EXPECT_STREQ(created, "no directory");
  EXPECT_EQ(zxfGetLoadPath(loadPath), 1);
  EXPECT_STREQ(loadPath, "never set");
  zxfFree(&zxf);
  ASSERT_EQ(zxfLibraryUnload(), 1);
  ASSERT_EQ(zxfGetReadyD("", msg, sizeof msg), 1) << msg;
  zxfGetLoadPath(loadPath);
  EXPECT_STREQ(loadPath, "never set") << "an empty directory is none";
  ASSERT_EQ(zxfLibraryUnload(), 1);

  ASSERT_EQ(zxfCreateDD(&zxf, dir.c_str(), msg, sizeof msg), 1) << msg;
  created = static_cast<char*>(companionVariable(file, "test_directory"));
  EXPECT_EQ(created, dir);
  EXPECT_EQ(zxfGetLoadPath(loadPath), 1);
  EXPECT_EQ(loadPath, dir);
  EXPECT_EQ(zxfSetLoadPath("/elsewhere"), 1);
  zxfGetLoadPath(loadPath);
  EXPECT_STREQ(loadPath, "/elsewhere");
  zxfFree(&zxf);
}

TEST_P(EachLoader, CorrectLibraryVersion_TakesOnlyTheSameVersion) {
  EXPECT_EQ(api_.correctVersion(msg_, sizeof msg_), 0);
  EXPECT_EQ(text(), "Library needs to be initialized first");
  loadFrom("good");
  const std::string words = "client " + std::to_string(api_.apiVersion) + " met";
  int* status = static_cast<int*>(companionVariable(path("good"), "test_versionStatus"));
  for (const int reported : {0, 1, 2, 3}) {
    *status = reported;
    EXPECT_EQ(api_.correctVersion(msg_, sizeof msg_), reported == 1 ? 1 : 0);
    EXPECT_EQ(text(), words);
  }
}

TEST_P(EachLoader, MutexesCreatedTwice_KeepTheCountRightAcrossThreads) {
  api_.initMutexes();
  api_.initMutexes();
  const auto runInThreads = [](const auto& work) {
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  };
  std::vector<std::vector<void*>> objects(kThreads, std::vector<void*>(kObjects));
  runInThreads([&](std::size_t thread) {
    const std::string dir = variantDir("good");
    char msg[256];
    for (void*& object : objects[thread])
      ASSERT_EQ(api_.createD(&object, dir.c_str(), msg, sizeof msg), 1) << msg;
  });
  void* last = std::exchange(objects[0][0], nullptr);
  runInThreads([&](std::size_t thread) {
    for (void*& object : objects[thread]) ASSERT_EQ(api_.free(&object), 1);
  });
  EXPECT_EQ(api_.unload(), 0) << "an increment was lost";
  EXPECT_EQ(api_.free(&last), 1);
  EXPECT_EQ(api_.unload(), 1) << "a decrement was lost";
  api_.finiMutexes();
  api_.finiMutexes();
}

INSTANTIATE_TEST_SUITE_P(Loaders, EachLoader, testing::ValuesIn(allLoaders()), loaderName);

}  // namespace
