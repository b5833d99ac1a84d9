// What surrounds a solve: the file that lists the solvers, and a kit that lacks them.
#include <dlfcn.h>

#include <array>

#include "companions/kit/testing.h"
#include "support/files.h"

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
  const auto read = reinterpret_cast<decltype(&zkitReadModel)>(dlsym(library, "zkitReadModel"));
  const auto free = reinterpret_cast<decltype(&zmiXFree)>(dlsym(library, "zmiXFree"));
  void* instance = nullptr;
  std::array<char, 256> message{};
  EXPECT_EQ(read("x.lp", nullptr, nullptr, &instance, message.data(), 256), 0);
  EXPECT_STREQ(message.data(), "this kit was built without GLPK, which reads model files");
  create(&instance, KIT_DIRECTORY);
  EXPECT_EQ(solve(instance, "cbc", message.data(), 256), 0);
  EXPECT_STREQ(message.data(),
               "Solver cbc needs cbc, which cannot be used: this kit was built without it");
  free(&instance);
  dlclose(library);
}

}  // namespace
