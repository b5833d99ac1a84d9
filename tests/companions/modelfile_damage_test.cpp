// Model files that are not what they should be: whatever they hold, reading one ends, in this
// process as before, with a model or a message.
#include <dirent.h>
#include <fcntl.h>
#include <glpk.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <thread>
#include <tuple>

#include "kit/modelfile_build.h"
#include "kit/modelfile_wire.h"
#include "modelfile_testing.h"
#include "zkitdclib.h"

namespace {

using namespace modelfiletest;

int openDescriptors() {
  int count = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (readdir(folder) != nullptr) ++count;
  closedir(folder);
  return count;
}

// 1 when the text is refused with a message that names the file.
int isRefused(const std::string& name, const std::string& text) {
  const Folder folder;
  const std::string path = folder.write(name, text);
  try {
    void* instance = buildInstance(readModelFile(path.c_str(), nullptr, {10, 256}), nullptr);
    EXPECT_NE(instance, nullptr);
    zkitFreeInstance(&instance);
    return 0;
  } catch (const FileError& error) {
    EXPECT_TRUE(std::string(error.what()).starts_with(path)) << error.what() << "\nin\n" << text;
    return 1;
  } catch (const Complaint& complaint) {
    EXPECT_STRNE(complaint.what(), "");
    return 1;
  }
}

struct GoodFile {
  const char* name;
  const char* content;
};

// Each reading starts a process, which takes its time with the sanitizers.
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t kStride = 8;
#else
constexpr std::size_t kStride = 2;
#endif

// Every byte at a distance of kStride, from the first or the second on.
class ModelFileDamage : public testing::TestWithParam<std::tuple<GoodFile, int>> {};

TEST_P(ModelFileDamage, AnyByte_GivesAModelOrAMessage) {
  const auto& [file, first] = GetParam();
  const std::string good = file.content;
  const int descriptors = openDescriptors();
  ASSERT_EQ(isRefused(file.name, good), 0);
  int refused = 0;
  for (std::size_t at = first; at < good.size(); at += kStride) {
    static const char kDamage[] = {'\0', '\n', '(', ';', '9', 'x', '-', '\xFF'};
    if (good[at] == ' ' && at / kStride % 2 == 1) continue;
    std::string bad = good;
    bad[at] = kDamage[at / kStride % std::size(kDamage)];
    refused += isRefused(file.name, bad);
    if (at / kStride % 8 == 0) refused += isRefused(file.name, good.substr(0, at));
  }
  EXPECT_GT(refused, static_cast<int>(good.size() / (5 * kStride)));
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_TRUE(waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD) << "a process is left";
}

INSTANTIATE_TEST_SUITE_P(, ModelFileDamage,
                         testing::Combine(testing::Values(GoodFile{"a.mps", kFixedMps},
                                                          GoodFile{"a.lp", kLp},
                                                          GoodFile{"a.mod", kMathProg}),
                                          testing::Values(0, 1)));

TEST(ModelFileProcess, WhatWouldEndOrHoldTheProgram_GivesAMessage) {
  const std::string deep(200000, '(');
  const struct {
    std::string text;
    FileLimits limits;
    const char* expected;
  } kCases[] = {
      {"param x{i in 1..9} := x[i] + 1;\nvar y >= x[1];\nminimize z: y;\nend;\n",
       {},
       "a.mod: GLPK cannot translate the model"},
      {"var y >= " + deep + "1;\nend;\n" + deep + deep, {}, "a.mod"},
      {"set I := 1..100000000;\nvar y{I} >= 0;\nminimize z: sum{i in I} y[i];\nend;\n",
       {60, 64},
       "a.mod: "},
      {"param s := sum{i in 1..1000000, j in 1..1000000} 1;\nvar y >= s;\nminimize z: y;\nend;\n",
       {1, 64},
       "a.mod: translating the model takes more than 1 seconds"},
  };
  for (const auto& c : kCases) {
    const std::string complaint = complaintOf("a.mod", c.text, c.limits);
    EXPECT_TRUE(complaint.starts_with(c.expected)) << complaint;
  }
}

TEST(ModelFileProcess, NothingIsPrinted_AndTheCallersGlpkIsLeftAlone) {
  glp_prob* mine = glp_create_prob();
  glp_add_rows(mine, 7);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const std::string loud =
      "printf \"hello\\n\";\nvar x;\ndisplay 1;\nminimize z: x;\nsolve;\ndisplay x;\nend;\n";
  EXPECT_EQ(readText("a.mod", loud).columns.size(), 1);
  EXPECT_NE(complaintOf("a.mod", "var x[;"), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(glp_get_num_rows(mine), 7);
  glp_delete_prob(mine);
}

TEST(ModelFileProcess, WorksInThreads_InOtherLocales_AndWithoutChildSignals) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* locale : {"de_DE.UTF-8", "de_DE.utf8"}) std::setlocale(LC_NUMERIC, locale);
  const auto previous = std::signal(SIGCHLD, SIG_IGN);  // so that children cannot be waited for
  std::vector<std::size_t> columns(4);
  std::vector<std::thread> threads;
  threads.reserve(columns.size());
  for (std::size_t& count : columns) {
    threads.emplace_back([&count] {
      for (int i = 0; i < 5; ++i) count = readText("a.mps", kFixedMps).columns.size();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(columns, (std::vector<std::size_t>{4, 4, 4, 4}));
  EXPECT_EQ(readText("a.lp", kLp).rows[1].lower, -3.5);
  EXPECT_NE(
      complaintOf("a.mod", "param x{i in 1..9} := x[i];\nvar y >= x[1];\nminimize z: y;\nend;\n"),
      "");
  std::signal(SIGCHLD, previous);
  std::setlocale(LC_NUMERIC, before.c_str());
}

// The program may have closed its standard streams, or have other descriptors where the reader's
// are to be.
TEST(ModelFileProcess, WorksWhateverDescriptorsAreFree) {
  for (const auto& closed : {std::vector<int>{0, 1}, {0}, {1}}) {
    std::vector<int> kept;
    for (const int stream : closed) {
      kept.push_back(fcntl(stream, F_DUPFD_CLOEXEC, 100));
      close(stream);
    }
    std::size_t columns = 0;
    std::string complaint;
    try {
      columns = readText("a.mps", kFixedMps).columns.size();
    } catch (const std::exception& error) {
      complaint = error.what();
    }
    for (std::size_t k = 0; k < closed.size(); ++k) {
      dup2(kept[k], closed[k]);
      close(kept[k]);
    }
    EXPECT_EQ(columns, 4) << complaint;
  }
}

TEST(ModelFileWire, CutOrChangedBytes_AreNoticedOrHarmless) {
  FileModel model = readText("a.mod", kMathProg);
  const std::string good = packModel(model);
  EXPECT_EQ(packModel(unpackModel(good)), good);
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_THROW(unpackModel(good.substr(0, length)), Complaint) << length;
  }
  EXPECT_THROW(unpackModel(good + "x"), Complaint);
  for (const auto& [row, column] : {std::pair(99, 1), {-1, 1}, {1, 0}, {1, 99}}) {
    model.coefficients[0] = {row, column, 1.0};
    EXPECT_THROW(unpackModel(packModel(model)), Complaint);
  }
}

}  // namespace
