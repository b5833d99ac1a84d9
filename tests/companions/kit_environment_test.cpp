// The calls on an environment, and what each library answers to its loader.
#include <algorithm>
#include <filesystem>
#include <string_view>

#include "kit_testing.h"

namespace {

using namespace kittest;

std::string systemDirectoryOf(const Instance& instance) {
  std::array<char, 256> value{"old"};
  EXPECT_EQ(CzrtGetStrOpt(instance.environment(), "NameSysDir", value.data()), 1);
  return value.data();
}

TEST(KitEnvironment, SystemDirectory_EndsInASlashAndIsTheLibrarysByDefault) {
  const Shop shop;
  EXPECT_EQ(systemDirectoryOf(Instance(shop.model, "/some/where")), "/some/where/");
  EXPECT_EQ(systemDirectoryOf(Instance(shop.model, "there/")), "there/");
  const std::filesystem::path own = systemDirectoryOf(Instance(shop.model));
  EXPECT_TRUE(std::filesystem::exists(own / "libzkitdclib64.so")) << own;
  EXPECT_TRUE(std::filesystem::exists(own / "zrncmpun.txt")) << own;

  const Instance instance(shop.model);
  std::array<char, 256> value{"old"};
  EXPECT_EQ(CzrtGetStrOpt(instance.environment(), "NameOther", value.data()), 0);
  EXPECT_STREQ(value.data(), "");
}

TEST(KitEnvironment, Log_GoesToTheHostOnly) {
  const Shop shop;
  const Instance instance(shop.model);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::vector<std::string> lines;
  const auto keep = [](const char* text, void* user) {
    static_cast<std::vector<std::string>*>(user)->emplace_back(text);
  };
  EXPECT_EQ(CzrtLog(instance.environment(), "nobody listens"), 1);
  EXPECT_EQ(zkitSetLog(instance, keep, &lines), 1);
  EXPECT_EQ(CzrtLog(instance.environment(), "one line"), 1);
  EXPECT_EQ(lines, std::vector<std::string>{"one line"});
  EXPECT_EQ(zkitSetLog(instance, nullptr, nullptr), 1);
  EXPECT_EQ(CzrtLog(instance.environment(), "too late"), 1);
  EXPECT_EQ(lines.size(), 1U);
  for (const char* solver : solversFor(ZKIT_LP)) EXPECT_EQ(instance.solve(solver), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(KitEnvironment, TerminateFlag_StopsSolvesUntilItIsCleared_WhichTheHostsSolveDoes) {
  for (const char* solver : solversFor(ZKIT_LP)) {
    const RandomModel random(3, 1);
    const Instance instance(random.model);
    zkitTerminate(instance);
    EXPECT_EQ(instance.solve(solver), "") << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_INTERRUPTED) << solver;
    EXPECT_EQ(CzrtTerminateClear(instance.environment()), 1);
    EXPECT_EQ(instance.solve(solver), "") << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED) << solver;
    zkitTerminate(instance);
    EXPECT_EQ(zkitSolve(instance, solver, nullptr, 0), 1) << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_INTERRUPTED) << solver;
    EXPECT_EQ(instance.solve(solver), "") << solver;
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED) << solver;
  }
}

int callSolver(void* environment, void* instance, const char* solver, char* message,
               int iterations = 0) {
  return CzrtCallSolver(environment, instance, nullptr, solver, 5, 0, 2E300, 2E300, 2E300, nullptr,
                        nullptr, iterations, 0, nullptr, message);
}

TEST(KitEnvironment, LimitOfACall_HoldsForThatCallOnly) {
  for (const char* solver : {"clp", "glpk"}) {
    const std::vector<const char*> there = solversFor(ZKIT_LP);
    const bool isThere = std::any_of(there.begin(), there.end(), [&](const char* each) {
      return std::string_view(each) == solver;
    });
    if (!isThere) continue;
    const RandomModel random(4, 1);
    const Instance instance(random.model);
    EXPECT_EQ(callSolver(instance.environment(), instance, solver, nullptr, 1), 0);
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_ITERATION_LIMIT) << solver;
    EXPECT_LE(zkitIterations(instance), 1) << solver;
    EXPECT_EQ(callSolver(instance.environment(), instance, solver, nullptr), 0);
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED) << solver;
    EXPECT_GT(zkitIterations(instance), 1) << solver;
    EXPECT_GE(zkitSeconds(instance), 0.0);
    EXPECT_EQ(zkitSetLimits(instance, 0, 1), 1);
    EXPECT_EQ(callSolver(instance.environment(), instance, solver, nullptr, 1000), 0);
    EXPECT_EQ(zkitSolveStatus(instance), ZKIT_ITERATION_LIMIT) << solver << ": the tighter one";
  }
}

TEST(KitEnvironment, SolverThatIsNotThere_FailsWithItsName) {
  const Shop shop;
  const Instance instance(shop.model);
  std::array<char, 256> message{};
  EXPECT_NE(callSolver(instance.environment(), instance, "nosuch", message.data()), 0);
  EXPECT_NE(std::string(message.data()).find(">nosuch<"), std::string::npos) << message.data();
  const std::string longName(1000, 'n');
  EXPECT_NE(callSolver(instance.environment(), instance, longName.c_str(), message.data()), 0);
  EXPECT_NE(callSolver(instance.environment(), instance, "nosuch", nullptr), 0);
  EXPECT_NE(callSolver(instance.environment(), instance, nullptr, message.data()), 0);
  EXPECT_NE(callSolver(instance.environment(), nullptr, "clp", message.data()), 0);
  EXPECT_NE(callSolver(nullptr, instance, "clp", message.data()), 0);
}

TEST(KitEnvironment, WrongArguments_GiveZero) {
  const Instance instance;
  std::array<char, 256> value{};
  EXPECT_EQ(CzrtGetStrOpt(nullptr, "NameSysDir", value.data()), 0);
  EXPECT_EQ(CzrtGetStrOpt(instance.environment(), nullptr, value.data()), 0);
  EXPECT_EQ(CzrtGetStrOpt(instance.environment(), "NameSysDir", nullptr), 1);
  EXPECT_EQ(CzrtTerminateClear(nullptr), 0);
  EXPECT_EQ(CzrtLog(nullptr, "text"), 0);
  EXPECT_EQ(CzrtLog(instance.environment(), nullptr), 0);
}

struct Library {
  const char* prefix;
  int version;
  void (*create)(void**);
  void (*createD)(void**, const char*);  // null: there is none
  void (*free)(void**);
  int (*check)(const char*, int, const int*, char*);
  int (*apiVersion)(int, char*, int*);
};

const Library kLibraries[] = {
    {"zmi", 26, zmiXCreate, CzmiXCreateD, zmiXFree, CzmiXCheck, CzmiXAPIVersion},
    {"zrt", 7, zrtXCreate, CzrtXCreateD, zrtXFree, CzrtXCheck, CzrtXAPIVersion},
    {"zst", 4, zstXCreate, nullptr, zstXFree, CzstXCheck, CzstXAPIVersion},
    {"zlx", 2, zlxXCreate, CzlxXCreateD, zlxXFree, CzlxXCheck, CzlxXAPIVersion},
};

class KitLibrary : public testing::TestWithParam<Library> {};

TEST_P(KitLibrary, Objects_AreMadeAndFreed) {
  const Library& library = GetParam();
  void* handle = nullptr;
  library.create(&handle);
  EXPECT_NE(handle, nullptr);
  library.free(&handle);
  EXPECT_EQ(handle, nullptr);
  library.free(&handle);
  library.free(nullptr);
  library.create(nullptr);
  if (library.createD == nullptr) return;
  const std::string tooLong(5000, 'd');
  for (const char* dir : {static_cast<const char*>(nullptr), "", "/tmp/", tooLong.c_str()}) {
    library.createD(&handle, dir);
    EXPECT_TRUE(handle != nullptr || dir == tooLong.c_str());
    library.free(&handle);
  }
  library.createD(nullptr, "/tmp");
}

TEST_P(KitLibrary, Version_IsComparedWithTheClients) {
  const Library& library = GetParam();
  std::array<char, 256> message{};
  int status = -1;
  EXPECT_EQ(library.apiVersion(library.version, message.data(), &status), 1);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(library.apiVersion(library.version + 1, message.data(), &status), 1);
  EXPECT_EQ(status, 3);
  EXPECT_EQ(library.apiVersion(library.version - 1, message.data(), &status), 0);
  EXPECT_EQ(status, 0);
  EXPECT_NE(std::string(message.data()).find("too old"), std::string::npos);
  EXPECT_EQ(library.apiVersion(library.version, nullptr, nullptr), 1);
}

TEST_P(KitLibrary, FunctionsOfTheOthers_AreRefused) {
  const Library& library = GetParam();
  std::array<char, 256> message{};
  const std::array<int, 2> codes = {3, 3};
  for (const char* function :
       {"zxfClose", "zmiXCheck", "", "zmi", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(library.check(function, 0, codes.data(), message.data()), 0);
    EXPECT_NE(message[0], '\0');
  }
  const std::string longName(5000, 'f');
  EXPECT_EQ(library.check(longName.c_str(), 0, codes.data(), message.data()), 0);
  EXPECT_EQ(library.check("zmiN", 0, codes.data(), message.data()) == 1,
            std::string_view(library.prefix) == "zmi");
}

INSTANTIATE_TEST_SUITE_P(Prefixes, KitLibrary, testing::ValuesIn(kLibraries),
                         [](const auto& each) { return std::string(each.param.prefix); });

}  // namespace
