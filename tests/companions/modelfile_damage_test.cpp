// Model files that are not what they should be: whatever they hold, reading one ends, in this
// process as before, with a model or a message.
#include <fcntl.h>
#include <glpk.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <clocale>
#include <csignal>
#include <fstream>
#include <memory>
#include <thread>

#include "kit/modelfile/wire.h"
#include "modelfile_testing.h"

namespace {

using namespace zdb::test::modelfile;

bool hasChildren() {
  return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}

TEST(ModelFileDamage, ByteOrEnd_GivesAModelOrAMessage) {
  const auto descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = descriptors();
  for (const auto& [name, corpus] :
       {std::pair("a.mps", "fixed"), {"a.lp", "lp"}, {"a.mod", "mathprog"}}) {
    const std::string good = sample(corpus);
    ASSERT_EQ(errorOf(name, good), "");
    std::size_t refused = 0;
    for (std::size_t n = 0; 3 * n < good.size(); ++n) {
      std::string bad = good;
      bad[3 * n] = std::string_view("\n(;9x-\xFF\0", 8)[n % 8];
      refused += errorOf(name, bad, {10, 256}).empty() ? 0 : 1;
      if (n % 8 == 0) errorOf(name, good.substr(0, 3 * n), {10, 256});
    }
    EXPECT_GT(refused, good.size() / 15) << name;
  }
  EXPECT_EQ(descriptors(), before);
  EXPECT_FALSE(hasChildren());
}

TEST(ModelFileProcess, WhatWouldEndOrHoldTheProgram_GivesAMessage) {
  const auto expect = [](const char* text, const FileLimits& limits, const std::string& begin) {
    EXPECT_EQ(errorOf("a.mod", text, limits).substr(0, begin.size()), begin);
  };
  expect("param x{i in 1..9} := x[i]; var y >= x[1]; minimize z: y;", {}, "a.mod: GLPK cannot");
  expect("set I := 1..100000000; var y{I}; minimize z: y[1];", {60, 64}, "a.mod: ");
  expect("param s := sum{i in 1..1e6, j in 1..1e6} 1; var y >= s; minimize z: y;", {1, 64},
         "a.mod: translating the model takes more than 1 seconds");
  EXPECT_TRUE(errorOf("a.gz", "\x1f\x8b").ends_with("is compressed: unpack it first"));
  EXPECT_FALSE(hasChildren());
}

TEST(ModelFileProcess, NothingIsPrinted_AndTheCallersGlpkIsLeftAlone) {
  const std::unique_ptr<glp_prob, decltype(&glp_delete_prob)> mine(glp_create_prob(),
                                                                   glp_delete_prob);
  glp_add_rows(mine.get(), 7);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(readText("a.mod", "printf \"1\"; var x; display 1; minimize z: x; solve; display x;")
                .columns.size(),
            1);
  EXPECT_NE(errorOf("a.mod", "var x[;"), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(glp_get_num_rows(mine.get()), 7);
}

TEST(ModelFileProcess, WorksInThreads_InOtherLocales_AndWithoutChildSignals) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* locale : {"de_DE.UTF-8", "de_DE.utf8"}) std::setlocale(LC_NUMERIC, locale);
  const auto previous = std::signal(SIGCHLD, SIG_IGN);  // so that children cannot be waited for
  std::vector<std::string> errors(4);
  std::atomic<int> lost = 0;  // descriptors of ours that somebody else closed
  {
    const std::jthread user([&](const std::stop_token& stop) {
      std::vector<int> descriptors;
      while (!stop.stop_requested() && descriptors.size() < 500) {
        descriptors.push_back(fcntl(1, F_DUPFD_CLOEXEC, 6));
        usleep(500);
      }
      for (const int one : descriptors) lost += close(one) == 0 ? 0 : 1;
    });
    std::vector<std::jthread> threads;
    threads.reserve(errors.size());
    for (std::string& error : errors) {
      threads.emplace_back([&error] {
        for (int i = 0; i < 5; ++i) error += errorOf("a.lp", sample("lp"));
      });
    }
  }
  EXPECT_EQ(errors, std::vector<std::string>(4));
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(readText("a.lp", sample("lp")).rows[1].lower, -3.5);
  EXPECT_NE(errorOf("a.mod", "param x{i in 1..2} := x[i]; s.t. c: x[1] >= 1;"), "");
  std::signal(SIGCHLD, previous);
  std::setlocale(LC_NUMERIC, before.c_str());
}

volatile std::sig_atomic_t signals = 0;

// Calls that a signal interrupts are made again, and nothing that has arrived is lost.
TEST(ModelFileProcess, SignalsWhileTheReaderWorks_ChangeNothing) {
  struct sigaction action = {};
  struct sigaction previous = {};
  action.sa_handler = [](int) { signals = signals + 1; };  // without SA_RESTART
  sigaction(SIGALRM, &action, &previous);
  const itimerval often = {{0, 200}, {0, 200}};
  const itimerval never = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  for (int i = 0; i < 10; ++i) {
    const std::string large = "var y{i in 1..5000} >= i; minimize z: sum{i in 1..5000} y[i];";
    EXPECT_EQ(readText("a.mod", large).columns.size(), 5000);
    EXPECT_FALSE(hasChildren());
  }
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &previous, nullptr);
  EXPECT_GT(signals, 10);
}

// A reader that is left alone ends by another signal, seconds later.
TEST(ModelFileProcess, HostThatIsKilled_TakesTheReaderWithIt) {
  const TemporaryFolder folder;
  const std::string path = folder.write(
      "a.mod", "param s := sum{i in 1..1e6, j in 1..1e6} 1; var y >= s; minimize z: y;");
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t host = fork();
  if (host == 0) {
    EXPECT_THROW(readModelFile(path.c_str(), nullptr, {5, 64}), FileError);
    _exit(1);
  }
  const std::string task = "/proc/" + std::to_string(host) + "/task/" + std::to_string(host);
  std::string reader;
  while (readFile("/proc/" + reader + "/cmdline").find("zkitreader64") == std::string::npos) {
    std::ifstream(task + "/children") >> reader;
    ASSERT_EQ(waitpid(host, nullptr, WNOHANG), 0);
  }
  kill(host, SIGKILL);
  EXPECT_EQ(waitpid(host, nullptr, 0), host);
  int status = 0;
  EXPECT_EQ(waitpid(std::stoi(reader), &status, 0), std::stoi(reader));
  EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGKILL) << WTERMSIG(status);
  prctl(PR_SET_CHILD_SUBREAPER, 0);
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
    const std::string error = errorOf("a.lp", sample("lp"));
    for (std::size_t k = 0; k < closed.size(); ++k) {
      dup2(kept[k], closed[k]);
      close(kept[k]);
    }
    EXPECT_EQ(error, "");
  }
}

TEST(ModelFileWire, CutOrChangedBytes_AreNoticed) {
  FileModel model = readText("a.mod", sample("mathprog"));
  const std::string good = packModel(model);
  EXPECT_EQ(packModel(unpackModel(good)), good);
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_THROW(unpackModel(good.substr(0, length)), ReadError) << length;
  }
  EXPECT_THROW(unpackModel(good + "x"), ReadError);
  for (const auto& [row, column] : {std::pair(99, 1), {-1, 1}, {1, 0}, {1, 99}}) {
    model.coefficients[0] = {row, column, 1.0};
    EXPECT_THROW(unpackModel(packModel(model)), ReadError);
  }
}

}  // namespace
