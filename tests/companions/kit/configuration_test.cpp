// The file that lists the solvers: what it may say, and what is said of one that is wrong.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

// Solves with the configuration of a system directory of its own.
class KitConfiguration : public testing::Test {
 protected:
  KitConfiguration() {
    std::string pattern = testing::TempDir() + "kit_configurationXXXXXX";
    directory_ = mkdtemp(pattern.data());
    zstXCreate(&configuration_);
  }
  ~KitConfiguration() override {
    std::filesystem::remove_all(directory_);
    zstXFree(&configuration_);
  }

  // What is wrong with a text, without the file's name; "" if the solver was called.
  std::string complaint(const std::string& text, const char* solver = "a", int type = ZKIT_MIP) {
    const std::string file = directory_ + "/zrncmpun.txt";
    std::ofstream(file) << text;
    const Instance instance(model_, directory_.c_str());
    zkitSetModelType(instance, type);
    zkitSolve(instance, solver, nullptr, 0);
    const std::string message = zkitSolveMessage(instance);
    EXPECT_EQ(zkitSolveStatus(instance), message.empty() ? ZKIT_COMPLETED : ZKIT_SETUP_FAILED);
    return message.substr(message.starts_with(file) ? file.size() : 0);
  }

  const Model model_{"int x 0 3 ; e: x <= 5 ; max x"};
  std::string directory_;
  void* configuration_ = nullptr;
};

TEST_F(KitConfiguration, LinesThatAreWrong_AreNamedWithTheirReason) {
  const std::pair<std::string, const char*> texts[] = {
      {"", ": lists no solver"},
      {"# clp clp LP\n\n", ": lists no solver"},
      {"clp", ", line 1: a line needs a name, a solver type and model types"},
      {"# \nclp clp # LP", ", line 2: a line needs a name, a solver type and model types"},
      {"c-lp clp LP",
       ", line 1: invalid solver name >c-lp<: use a letter, then letters, digits or _"},
      {"a clp LP\nb glpk MIP\nA clp LP", ", line 3: solver >A< is listed twice"},
      {"a clqp LP", ", line 1: unknown solver type >clqp<: use clp, cbc or glpk"},
      {"a clp LP NLP", ", line 1: unknown model type >NLP<: use LP, MIP or RMIP"},
      {"a clp LP MIP", ", line 1: solver type clp does not solve MIP"},
      {"a cbc MIP" + std::string(990, ' '), ""},
      {"a cbc MIP\n" + std::string(1000, 'x'), ": cannot be read, or has a line that is too long"},
      {"\t a\tglpk  lp mip#x\r\n", ""},
      {"b cbc LP\na cbc MIP\n\n\n", ""},
      {"b clp LP\nc glpk MIP", "Unknown solver >a<: use b, c"},
      {"a cbc LP RMIP", "Solver a is not configured for models of type MIP"},
  };
  for (const auto& [text, reason] : texts) EXPECT_EQ(complaint(text), reason) << text;
  EXPECT_EQ(complaint("A cbc RMIP", "a", ZKIT_RMIP), "");
  std::ostringstream many;
  for (int k = 0; k < 1000; ++k) many << "a" << k << " cbc MIP\n";
  EXPECT_EQ(complaint(many.str(), "a999"), "");
  EXPECT_EQ(complaint(many.str() + "a cbc MIP"), ", line 1001: too many solvers: at most 1000");
}

TEST_F(KitConfiguration, DirectoryWithoutAFile_IsNamed) {
  const Instance instance(model_, directory_.c_str());
  EXPECT_EQ(instance.solve("cbc"),
            directory_ + "/zrncmpun.txt: cannot be opened; it must list the solvers");
  std::filesystem::create_directory(directory_ + "/zrncmpun.txt");
  EXPECT_EQ(instance.solve("cbc"),
            directory_ + "/zrncmpun.txt: cannot be read, or has a line that is too long");
}

// Each byte of the lines that come with the kit replaced or left out with all after it.
TEST_F(KitConfiguration, DamageAtAnyByte_IsHarmless) {
  const std::string text = "clp clp LP RMIP\ncbc cbc LP MIP RMIP\n";
  const std::string file = directory_ + "/damaged";
  int refused = 0;
  for (std::size_t k = 0; k < text.size(); ++k) {
    for (const char by : {'\0', '\xff', '\n'}) {
      std::ofstream(file) << text.substr(0, k) << by << text.substr(k + 1);
      refused += CzstReadConfigGUC(configuration_, file.c_str(), "");
    }
    std::ofstream(file) << text.substr(0, k);
    refused += CzstReadConfigGUC(configuration_, file.c_str(), "");
  }
  EXPECT_GT(refused, 100) << "lines whose words are damaged must not be taken";
}

}  // namespace
