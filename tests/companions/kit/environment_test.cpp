// What surrounds a solve: the system directory, the log, and a kit that lacks the solvers.
#include <dlfcn.h>

#include <array>
#include <filesystem>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

TEST(KitEnvironment, SystemDirectory_IsTheLibrarysByDefault) {
  const Model model;
  for (const char* given : {static_cast<const char*>(nullptr), "some/where"}) {
    const Instance instance(model, given);
    std::array<char, 256> directory{};
    EXPECT_EQ(CzrtGetStrOpt(CzmiEnvironment(instance), "NameSysDir", directory.data()), 1);
    EXPECT_EQ(directory.data(), given == nullptr ? KIT_DIRECTORY "/" : std::string("some/where/"));
  }
}

TEST(KitEnvironment, Log_GoesToTheHostOnly) {
  const Silence silence;
  const Model model(kShop);
  const Instance instance(model);
  std::vector<std::string> lines;
  const auto keep = [](const char* text, void* user) {
    static_cast<std::vector<std::string>*>(user)->emplace_back(text);
  };
  EXPECT_EQ(CzrtLog(CzmiEnvironment(instance), "nobody listens"), 1);
  EXPECT_EQ(zkitSetLog(instance, keep, &lines), 1);
  EXPECT_EQ(CzrtLog(CzmiEnvironment(instance), "one line"), 1);
  EXPECT_NE(instance.solve("nosuch"), "");
  CzmiSetVarLOne(instance, 2, kInf);
  for (const char* solver : kSolvers) EXPECT_NE(instance.solve(solver), "");
  EXPECT_EQ(zkitSetLog(instance, nullptr, nullptr), 1);
  EXPECT_EQ(CzrtLog(CzmiEnvironment(instance), "too late"), 1);
  const std::string infinite =
      "A parameter or bound is infinite or not a number: the model cannot be solved";
  EXPECT_EQ(lines,
            (std::vector<std::string>{"one line", "Unknown solver >nosuch<: use clp, cbc, glpk",
                                      infinite, infinite, infinite}));
}

TEST(KitWithoutSolvers, EachThatIsAskedFor_IsSaidToBeMissing) {
  void* library = dlopen(KIT_WITHOUT_SOLVERS, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto create = reinterpret_cast<decltype(&CzmiXCreateD)>(dlsym(library, "CzmiXCreateD"));
  const auto solve = reinterpret_cast<decltype(&zkitSolve)>(dlsym(library, "zkitSolve"));
  const auto read = reinterpret_cast<decltype(&zkitReadModel)>(dlsym(library, "zkitReadModel"));
  const auto free = reinterpret_cast<decltype(&zmiXFree)>(dlsym(library, "zmiXFree"));
  void* instance = nullptr;
  std::array<char, 256> message{};
  EXPECT_EQ(read("x.lp", nullptr, nullptr, &instance, message.data(), 256), 0);
  EXPECT_STREQ(message.data(), "This kit was built without GLPK, which reads model files");
  create(&instance, KIT_DIRECTORY);
  EXPECT_EQ(solve(instance, "cbc", message.data(), 256), 0);
  EXPECT_STREQ(message.data(), "Solver cbc needs cbc, which this kit was built without");
  free(&instance);
  dlclose(library);
}

}  // namespace
