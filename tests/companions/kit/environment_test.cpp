// What surrounds a solve: the file that lists the solvers, and a kit that lacks them.
#include <dlfcn.h>

#include <array>

#include "companions/kit/testing.h"
#include "support/files.h"

namespace {

using namespace kittest;

class KitConfiguration : public testing::Test {
 protected:
  KitConfiguration() { zstXCreate(&configuration_); }
  ~KitConfiguration() override { zstXFree(&configuration_); }

  // Whether a file of that text is refused.
  bool refuses(const std::string& text) const {
    return CzstReadConfigGUC(configuration_, folder_.write("a.txt", text).c_str(), "") != 0;
  }

  const testsupport::TemporaryFolder folder_;
  void* configuration_ = nullptr;
};

TEST_F(KitConfiguration, ThousandSolvers_AreTakenAndNoMore) {
  std::string lines;
  for (int k = 0; k < 1000; ++k) lines += "a" + std::to_string(k) + " cbc MIP\n";
  EXPECT_FALSE(refuses(lines));
  EXPECT_EQ(CzstAlgNumber(configuration_, "a999"), 1000);
  EXPECT_TRUE(refuses(lines + "a cbc MIP"));
}

// Each byte of the lines that come with the kit replaced or left out with all after it.
TEST_F(KitConfiguration, DamageAtAnyByte_IsHarmless) {
  const std::string text = "clp clp LP RMIP\ncbc cbc LP MIP RMIP\n";
  int refused = 0;
  for (std::size_t k = 0; k < text.size(); ++k) {
    for (const char by : {'\0', '\xff', '\n'}) {
      refused += refuses(text.substr(0, k) + by + text.substr(k + 1)) ? 1 : 0;
    }
    refused += refuses(text.substr(0, k)) ? 1 : 0;
  }
  EXPECT_GT(refused, 100) << "lines whose words are damaged must not be taken";
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
  EXPECT_STREQ(message.data(), "Solver cbc needs cbc, which this kit was built without");
  free(&instance);
  dlclose(library);
}

}  // namespace
