// The configuration file of the solvers, and the calls that use it.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "companions/kit_solving.h"
#include "kit/api.h"
#include "kit/configuration.h"
#include "zkitdclib.h"

namespace zkittest {

namespace {

using zkit::Configuration;
using zkit::Instance;
using zkit::KitError;

// A system directory of the test's own.
class KitConfiguration : public testing::Test {
 protected:
  KitConfiguration() {
    std::string pattern = testing::TempDir() + "kit_configurationXXXXXX";
    directory_ = mkdtemp(pattern.data());
    file_ = directory_ + "/" + std::string(zkit::kConfigurationFile);
    memory_ = memfd_create("configuration", 0);  // where thousands of files take no time
    memoryFile_ = "/proc/self/fd/" + std::to_string(memory_);
  }
  ~KitConfiguration() override {
    std::filesystem::remove_all(directory_);
    close(memory_);
  }

  void write(const std::string& text) const { std::ofstream(file_) << text; }
  // What is wrong with a text, without the file's name; "" for nothing.
  std::string complaint(const std::string& text, Configuration* configuration = nullptr) const {
    EXPECT_EQ(ftruncate(memory_, 0), 0);
    EXPECT_EQ(pwrite(memory_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    Configuration own;
    try {
      (configuration == nullptr ? own : *configuration).read(memoryFile_);
    } catch (const KitError& error) {
      const std::string what = error.what();
      EXPECT_EQ(what.find(memoryFile_), 0U) << what;
      return what.substr(memoryFile_.size());
    }
    return "";
  }

  std::string directory_;
  std::string file_;

 private:
  int memory_;
  std::string memoryFile_;
};

std::string defaultText() {
  std::ifstream stream(ZKIT_SOURCE_DIR "/companions/kit/zrncmpun.txt");
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

TEST_F(KitConfiguration, NumbersTheSolversOfTheFileThatComesWithTheKit) {
  Configuration configuration;
  ASSERT_EQ(complaint(defaultText(), &configuration), "");
  EXPECT_EQ(configuration.count(), 3);
  EXPECT_EQ(configuration.find("clp"), 1);
  EXPECT_EQ(configuration.find("CBC"), 2);
  EXPECT_EQ(configuration.find("Glpk"), 3);
  for (const char* unknown : {"", "cl", "clp ", "clpx", "kind"}) {
    EXPECT_EQ(configuration.find(unknown), 0) << unknown;
  }
}

TEST_F(KitConfiguration, SaysWhatIsWrongWithALine) {
  const struct {
    const char* text;
    const char* complaint;
  } kTexts[] = {
      {"", ": lists no solver"},
      {"# clp clp LP\n\n", ": lists no solver"},
      {"clp", ", line 1: a solver has a name, a kind and model types"},
      {"# \nclp clp # LP", ", line 2: a solver has a name, a kind and model types"},
      {"c-lp clp LP", ", line 1: >c-lp< cannot be a solver's name"},
      {"a clp LP\nb glpk MIP\nA clp LP", ", line 3: >A< is there twice"},
      {"a clqp LP", ", line 1: there is no kind >clqp<, use clp, cbc or glpk"},
      {"a clp LP NLP", ", line 1: there is no model type >NLP<, use LP, MIP and RMIP"},
      {"a clp LP MIP", ", line 1: the kind clp does not solve MIP"},
  };
  for (const auto& each : kTexts) EXPECT_EQ(complaint(each.text), each.complaint) << each.text;
  EXPECT_EQ(complaint("a clp LP\n" + std::string(5000, 'x')),
            ": cannot be read, or has an endless line");
  for (const char* good : {"a clp LP", "\t a\tclp  lp rmip#x\r\n", "a cbc MIP\nb cbc LP\n\n\n"}) {
    EXPECT_EQ(complaint(good), "") << good;
  }
}

TEST(KitConfigured, SolversThatAreNotBuiltSaySo) {
  const zkit::Engine absent = {"clp", false, true, nullptr};
  const zkit::ConfiguredSolver solver = {"fast", &absent, {zkit::LpModel}};
  try {
    solver.checkBuilt();
    FAIL() << "nothing was said";
  } catch (const KitError& error) {
    EXPECT_STREQ(error.what(), "Solver fast needs clp, which this kit was built without");
  }
}

TEST_F(KitConfiguration, MissingFilesAndDirectoriesAreNoConfiguration) {
  write("mine clp LP");
  Configuration configuration;
  configuration.read(file_);
  for (const std::string& path : {directory_ + "/none", directory_, std::string()}) {
    EXPECT_THROW(configuration.read(path), KitError) << path;
    EXPECT_EQ(configuration.find("mine"), 1) << "a failed reading changed something";
  }
}

// Each byte of the file replaced, removed, or the last one: read as something or refused with a
// text, and what is read has sound solvers only.
TEST_F(KitConfiguration, DamageAtAnyByteIsHarmless) {
  const std::string text = defaultText();
  int refused = 0;
  for (std::size_t k = 0; k < text.size(); ++k) {
    const std::string before = text.substr(0, k);
    const std::string after = text.substr(k + 1);
    std::vector<std::string> texts = {before, before + after};
    for (const char byte : {'\0', '\xff', '\n', ' '}) {
      texts.push_back(text);
      texts.back()[k] = byte;
    }
    for (const std::string& damaged : texts) {
      Configuration configuration;
      refused += complaint(damaged, &configuration).empty() ? 0 : 1;
      for (int number = 1; number <= configuration.count(); ++number) {
        EXPECT_NE(configuration.solver(number).engine, nullptr);
        EXPECT_FALSE(configuration.solver(number).modelTypes.empty());
      }
    }
  }
  EXPECT_GT(refused, 300) << "a file whose words are damaged must not be taken";
}

// Maximises x <= 3.
ModelUnderTest smallModel(bool isInteger) {
  ModelUnderTest model;
  const int x = model.addColumn(0, 3, isInteger);
  model.set(model.addRow(zkit::LessRow, 5), x, 1);
  model.optimise(x, -1);
  return model;
}

// The configuration calls on a handle of their own.
class KitConfigurationCalls : public KitConfiguration {
 protected:
  KitConfigurationCalls() { zstXCreate(&config_); }
  ~KitConfigurationCalls() override {
    zstXFree(&config_);
    EXPECT_EQ(config_, nullptr);
  }

  int read(const std::string& text) {
    write(text);
    return CzstReadConfigGUC(config_, file_.c_str(), directory_.c_str());
  }
  std::string create(int number) {
    std::array<char, 256> message = {};
    const int isMade = CzstAlgCreate(config_, number, directory_.c_str(), message.data(), 256);
    EXPECT_EQ(isMade == 0, message[0] != '\0');
    return message.data();
  }

  void* config_ = nullptr;
};

TEST_F(KitConfigurationCalls, SolveInPlaceByNumber) {
  ASSERT_EQ(read("first cbc MIP\nfast clp LP\n"), 0);
  const int fast = CzstAlgNumber(config_, "fast");
  ASSERT_EQ(fast, 2);
  EXPECT_EQ(CzstAlgAllowsModifyProblem(config_, 1), 0);
  EXPECT_EQ(CzstAlgAllowsModifyProblem(config_, fast), 1);
  Instance instance(smallModel(false).data(), directory_);
  EXPECT_NE(CzstAlgModifyProblem(config_, fast), 0) << "nothing to be modified yet";
  EXPECT_NE(CzstAlgCallSolver(config_, fast, &instance), 0);
  EXPECT_EQ(create(fast), "");
  EXPECT_EQ(CzstAlgReadyAPI(config_, fast, &instance), 0);
  EXPECT_EQ(CzstAlgCallSolver(config_, fast, &instance), 0);
  EXPECT_EQ(objectiveOf(instance), 3.0);
  instance.rows[0].rhs = 2;
  EXPECT_EQ(CzstAlgModifyProblem(config_, fast), 0);
  EXPECT_EQ(CzstAlgCallSolver(config_, fast, &instance), 0);
  EXPECT_EQ(objectiveOf(instance), 2.0);
  instance.rows[0].rhs = -1;
  EXPECT_EQ(CzstAlgModifyProblem(config_, fast), 0);
  EXPECT_EQ(CzstAlgCallSolver(config_, fast, &instance), 0) << "infeasible is an answer";
  EXPECT_EQ(instance.modelStatus, ZKIT_INFEASIBLE);
  EXPECT_EQ(CzstAlgFree(config_, fast), 1);
  EXPECT_NE(CzstAlgModifyProblem(config_, fast), 0);
}

TEST_F(KitConfigurationCalls, RefuseModelsThatTheSolverIsNotFor) {
  ASSERT_EQ(read("fast clp LP RMIP\nonlylp glpk LP\n"), 0);
  Instance instance(smallModel(true).data(), directory_);
  for (const int number : {1, 2}) {
    EXPECT_EQ(create(number), "");
    EXPECT_NE(CzstAlgReadyAPI(config_, number, &instance), 0);
    EXPECT_NE(instance.message.find("MIP"), std::string::npos) << instance.message;
    EXPECT_NE(CzstAlgCallSolver(config_, number, &instance), 0);
  }
}

TEST_F(KitConfigurationCalls, TakeWrongArguments) {
  EXPECT_NE(CzstReadConfigGUC(config_, nullptr, nullptr), 0);
  EXPECT_NE(CzstReadConfigGUC(config_, "/nowhere/at/all", "/nowhere"), 0);
  EXPECT_NE(CzstReadConfigGUC(nullptr, "", ""), 0);
  EXPECT_NE(create(1), "");
  ASSERT_EQ(read("fast clp LP"), 0);
  Instance instance(smallModel(false).data(), directory_);
  std::array<char, 256> message = {};
  for (const int number : {-2147483647, -1, 0, 2, 2147483647}) {
    EXPECT_NE(create(number), "") << number;
    EXPECT_EQ(CzstAlgAllowsModifyProblem(config_, number), 0);
    EXPECT_NE(CzstAlgReadyAPI(config_, number, &instance), 0);
    EXPECT_NE(CzstAlgModifyProblem(config_, number), 0);
    EXPECT_NE(CzstAlgCallSolver(config_, number, &instance), 0);
    EXPECT_EQ(CzstAlgFree(config_, number), 0);
  }
  EXPECT_EQ(CzstAlgNumber(config_, nullptr), 0);
  EXPECT_EQ(CzstAlgNumber(nullptr, "fast"), 0);
  EXPECT_EQ(CzstAlgCreate(nullptr, 1, "", message.data(), 256), 0);
  EXPECT_EQ(CzstAlgCreate(config_, 9, "", message.data(), 5), 0);
  EXPECT_EQ(std::string(message.data()).size(), 4U) << "cut to the buffer";
  EXPECT_EQ(CzstAlgCreate(config_, 9, "", nullptr, 256), 0);
  EXPECT_EQ(CzstAlgCreate(config_, 1, "", nullptr, 0), 1);
  EXPECT_NE(CzstAlgReadyAPI(config_, 1, nullptr), 0);
  EXPECT_NE(CzstAlgCallSolver(config_, 1, nullptr), 0);
  zstXCreate(nullptr);
  zstXFree(nullptr);
}

TEST_F(KitConfigurationCalls, AnswerToTheLoadersChecks) {
  std::array<char, 256> message = {};
  const int codes[] = {3, 11};
  EXPECT_EQ(CzstXCheck("zstAlgNumber", 1, codes, message.data()), 1);
  const int others[] = {3, 3};
  EXPECT_EQ(CzstXCheck("zstAlgNumber", 1, others, message.data()), 0);
  EXPECT_STREQ(message.data(), "zkitdclib: zstAlgNumber has wrong argument types.");
  EXPECT_EQ(CzstXCheck("zstAlgName", 1, codes, message.data()), 0);
  int status = 0;
  EXPECT_EQ(CzstXAPIVersion(4, message.data(), &status), 1);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(CzstXAPIVersion(3, message.data(), &status), 0);
}

TEST_F(KitConfiguration, PlainSolvesTakeNamesOfTheFile) {
  Instance instance(smallModel(true).data(), directory_);
  EXPECT_THROW(zkit::solvePlain(instance, "clp"), KitError) << "there is no file yet";
  write("whole cbc MIP\nrelaxed glpk RMIP\n");
  EXPECT_EQ(zkit::solvePlain(instance, "WHOLE"), zkit::Outcome::Optimal);
  EXPECT_EQ(instance.modelStatus, ZKIT_INTEGER_SOLUTION);
  for (const char* name : {"cbc", "", "relaxed"}) {
    EXPECT_THROW(zkit::solvePlain(instance, name), KitError) << name;
  }
  instance.type = zkit::RmipModel;
  EXPECT_EQ(zkit::solvePlain(instance, "relaxed"), zkit::Outcome::Optimal);
}

}  // namespace

}  // namespace zkittest
