// Loading, unloading and creating objects.
#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <thread>
#include <utility>

#include "loaders/loaderapi.h"

namespace {

using namespace zdb::loaders;

const std::string kGood = dir("good");
const std::string kZxfFile = "/libzxfcclib64.so";

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

// What the last object of a loaded library was created with; null when it is not loaded.
const char* createdWith(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) return nullptr;
  void* variable = dlsym(library, "test_directory");
  dlclose(library);  // the loader's own reference keeps it
  return static_cast<const char*>(variable);
}

TEST_P(EachLoader, AnySpellingOfTheNames_ResolvesEveryFunctionToItsOwnSymbol) {
  for (const std::string& directory : {kGood, dir("mixed"), std::string(REAL_COMPANIONS)}) {
    ASSERT_EQ(load(directory), 1) << msg_;
    EXPECT_STREQ(msg_, "");
    EXPECT_EQ(api_.LibraryLoaded(), 1);
    EXPECT_EQ(api_.CorrectLibraryVersion(msg_, sizeof msg_), 1) << msg_;
    for (const FunctionCase& function : api_.functions) {
      if (directory == REAL_COMPANIONS && function.name == "zxfAcronymAdd") {
        EXPECT_EQ(function.target(), function.stub) << "not offered";
        continue;
      }
      EXPECT_EQ(originOf(function),
                directory + "/" + api_.file + " " + upperCase(function.exported));
    }
    ASSERT_EQ(api_.LibraryUnload(), 1);
    EXPECT_EQ(api_.LibraryLoaded(), 0);
  }
}

TEST_P(EachLoader, FailedLoad_GivesReasonClosesLibraryAndResetsPointers) {
  const std::string object = api_.prefix == "zxf" ? "X" : "C" + api_.prefix + "X";
  const std::string version = (api_.prefix == "zxf" ? "C__" : "") + object + "APIVersion";
  const auto path = [&](const std::string& variant) { return dir(variant) + "/" + api_.file; };
  const auto lacks = [&](const std::string& variant, const std::string& name) {
    return "Could not load symbol '" + name + "': " + path(variant) +
           ": undefined symbol: " + upperCase(name);
  };
  const std::string tooOld = "client " + std::to_string(api_.version) + " met";
  const struct {
    const char* variant;
    const char* told;
    std::string reason;
  } kCases[] = {
      {"nosymbol", "", lacks("nosymbol", api_.functions.back().exported)},
      {"noversion", "", lacks("noversion", version)},
      {"good", "old", tooOld},
      // Objects of zst are made without a directory.
      {"nocreated", "old", api_.prefix == "zst" ? tooOld : lacks("nocreated", object + "CreateD")},
      {"absent", "",
       "Could not load shared library " + path("absent") + ": " + path("absent") +
           ": cannot open shared object file: No such file or directory"}};
  for (const auto& c : kCases) {
    ASSERT_EQ(load(kGood), 1) << msg_;
    ASSERT_EQ(api_.LibraryUnload(), 1);  // which leaves pointers to what is gone
    const Told told(c.told);
    EXPECT_EQ(load(dir(c.variant)), 0) << c.variant;
    EXPECT_EQ(msg_, c.reason);
    EXPECT_EQ(api_.LibraryLoaded(), 0);
    EXPECT_EQ(createdWith(path(c.variant)), nullptr) << c.variant;
    for (const FunctionCase& function : api_.functions) EXPECT_EQ(function.target(), function.stub);
  }
}

INSTANTIATE_TEST_SUITE_P(All, EachLoader, testing::ValuesIn(allLoaders()),
                         [](const auto& each) { return each.param.prefix; });

// A load that does not wait for another one opens the library again, and closing it once is not
// enough then.
TEST_F(ZxfLoader, Threads_LoadOnceAndKeepTheCountRight) {
  constexpr int kObjects = 20000;
  const Told told("slow");
  zxfInitMutexes();
  zxfInitMutexes();
  for (const auto& [create, place] :
       {std::pair{&zxfCreateL, kGood + kZxfFile}, {&zxfCreateD, kGood}}) {
    std::vector<zxfRec*> objects(4 * kObjects);
    const auto inThreads = [&](const auto& work) {
      std::vector<std::jthread> threads;
      for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
          for (int i = 0; i < kObjects; ++i) ASSERT_EQ(work(&objects[t * kObjects + i]), 1);
        });
      }
    };
    inThreads([&](zxfRec** object) { return create(object, place.c_str(), nullptr, 0); });
    zxfRec* last = std::exchange(objects[0], nullptr);
    inThreads(zxfFree);
    EXPECT_EQ(zxfLibraryUnload(), 0) << "an increment was lost";
    EXPECT_EQ(zxfFree(&last), 1);
    EXPECT_EQ(zxfLibraryUnload(), 1) << "a decrement was lost";
    EXPECT_EQ(createdWith(kGood + kZxfFile), nullptr) << "opened more than once";
  }
}

}  // namespace
