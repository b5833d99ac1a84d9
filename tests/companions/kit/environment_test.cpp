// What surrounds a solve: the file that lists the solvers, and a kit that lacks them.
#include <dlfcn.h>

#include <array>
#include <cstdlib>
#include <filesystem>

#include "companions/kit/testing.h"
#include "support/files.h"
#include "zdbcclib.h"

namespace {

using namespace zdb::test::kit;

TEST(KitConfiguration, ThousandSolvers_AreTakenAndNoMore) {
  const zdb::test::TemporaryFolder folder;
  void* configuration = nullptr;
  zstXCreate(&configuration);
  std::string lines;
  for (int k = 0; k < 1000; ++k) lines += "a" + std::to_string(k) + " cbc MIP\n";
  EXPECT_EQ(CzstReadConfigGUC(configuration, folder.write("a", lines).c_str(), ""), 0);
  EXPECT_EQ(CzstAlgNumber(configuration, "a999"), 1000);
  lines += "a cbc MIP";
  EXPECT_NE(CzstReadConfigGUC(configuration, folder.write("a", lines).c_str(), ""), 0);
  zstXFree(&configuration);
}

TEST(KitWithoutSolvers, EachThatIsAskedFor_IsSaidToBeMissing) {
  void* library = dlopen(KIT_WITHOUT_SOLVERS, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto create = reinterpret_cast<decltype(&CzmiXCreateD)>(dlsym(library, "CzmiXCreateD"));
  const auto solve = reinterpret_cast<decltype(&zkitSolve)>(dlsym(library, "zkitSolve"));
  const auto free = reinterpret_cast<decltype(&zmiXFree)>(dlsym(library, "zmiXFree"));
  void* instance = nullptr;
  std::array<char, 256> message{};
  create(&instance, KIT_DIRECTORY);
  EXPECT_EQ(solve(instance, "cbc", message.data(), 256), 0);
  EXPECT_STREQ(message.data(),
               "Solver cbc needs cbc, which cannot be used: this kit was built without it");
  free(&instance);
  dlclose(library);
}

// What a fresh copy of a kit, in a folder of its own, says of why it cannot use a solver.
std::string reasonAgainst(int solver, const std::string& folder) {
  static int copies = 0;  // names of their own, since not all that is closed is unloaded
  const std::string copy = folder + "kit" + std::to_string(++copies) + ".so";
  std::filesystem::copy_file(KIT_WITH_PLUGINS, copy);
  void* library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(library, nullptr) << dlerror();
  const auto info = reinterpret_cast<decltype(&zkitSolverInfo)>(dlsym(library, "zkitSolverInfo"));
  const char* version = nullptr;
  const char* whyNot = nullptr;
  EXPECT_EQ(info(solver, nullptr, &version, nullptr, nullptr, &whyNot), 1);
  EXPECT_EQ(*version == '\0', *whyNot != '\0');
  std::string reason = whyNot;
  dlclose(library);
  const std::size_t place = reason.find(folder);
  return place == std::string::npos ? reason : reason.replace(place, folder.size(), "FOLDER");
}

TEST(KitGlpk, PluginsThatItMustNotUse_AreNamedWithTheReason) {
  constexpr int kGlpk = 2;
  const std::string plugin = "FOLDERlibzkitglpk64.so";
  const struct {
    const char* library;  // null: none, empty: not a library
    std::string reason;
  } cases[] = {
      {nullptr, "its plug-in " + plugin + " is not there (Debian package zdbcclib-glpk)"},
      {"", plugin + ": file too short"},
      {FAKE_HIGHS "other.so", plugin + " has no function zkitGlpk"},
      {FAKE_GLPK,
       plugin + " is of version 0.9, and this kit of " ZDBCCLIB_VERSION ": install both again"},
  };
  for (const auto& [library, reason] : cases) {
    const zdb::test::TemporaryFolder folder;
    if (library != nullptr) {
      folder.write("libzkitglpk64.so", *library == '\0' ? "" : zdb::test::readFile(library));
    }
    EXPECT_EQ(reasonAgainst(kGlpk, folder.path()), reason);
  }
}

// The same for HiGHS. `chosen` is the value of the variable that names the library; null: none.
std::string reasonAgainstHighs(const std::string& folder, const char* chosen) {
  constexpr int kHighs = 3;
  if (chosen != nullptr) {
    setenv("ZKIT_HIGHS", chosen, 1);
  } else {
    unsetenv("ZKIT_HIGHS");
  }
  return reasonAgainst(kHighs, folder);
}

TEST(KitHighs, LibrariesThatItMustNotUse_AreNamedWithTheReason) {
  const zdb::test::TemporaryFolder folder;
  const char* set = getenv("ZKIT_HIGHS");
  const std::string before = set == nullptr ? "" : set;
  const std::string known = ", and this kit knows 1.11 to 1.15";
  const struct {
    const char* fake;
    std::string reason;
  } cases[] = {
      {"other", " is not HiGHS: it has no Highs_version"},
      {"old", " is version of a test" + known},
      {"next", " is version of a test" + known},
      {"major", " is version of a test" + known},
      {"poor", " has no function Highs_destroy"},
  };
  for (const auto& [fake, reason] : cases) {
    const std::string library = FAKE_HIGHS + std::string(fake) + ".so";
    EXPECT_EQ(reasonAgainstHighs(folder.path(), library.c_str()), library + reason);
    std::filesystem::create_directories(folder.path("zkit-highs"));
    std::filesystem::copy_file(library, folder.path("zkit-highs/libhighs.so"),
                               std::filesystem::copy_options::overwrite_existing);
    const std::string found = reasonAgainstHighs(folder.path(), nullptr);
    EXPECT_TRUE(found.empty() || found == "FOLDERzkit-highs/libhighs.so" + reason) << found;
  }
  EXPECT_EQ(reasonAgainstHighs(folder.path(), "/nowhere/libhighs.so"),
            "ZKIT_HIGHS: /nowhere/libhighs.so: cannot open shared object file: No such file or "
            "directory");
  set == nullptr ? unsetenv("ZKIT_HIGHS") : setenv("ZKIT_HIGHS", before.c_str(), 1);
}

// Nothing else needs it, and the tests of the solvers leave it out.
TEST(KitHighs, IsThere) {
  const char* whyNot = nullptr;
  const char* version = nullptr;
  EXPECT_EQ(zkitSolverInfo(3, nullptr, &version, nullptr, nullptr, &whyNot), 1);
  if (*whyNot != '\0') GTEST_SKIP() << "highs is not tested: " << whyNot;
  EXPECT_EQ(std::string(version).substr(0, 2), "1.");
}

}  // namespace
