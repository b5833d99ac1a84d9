// Worker processes: how they end, and that nothing is left of them.
#include "sweep/localcrew.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <new>
#include <stdexcept>
#include <thread>

#include "contract/packing.h"
#include "support.h"

namespace zdb::sweep {
namespace {

/// What a worker sends apart from its results: its only socket is the way to the scheduler.
void sendRaw(std::string_view bytes) {
  for (int fd = 3; fd < 64; ++fd) {
    struct stat what {};
    if (fstat(fd, &what) == 0 && S_ISSOCK(what.st_mode)) {
      send(fd, bytes.data(), bytes.size(), 0);
    }
  }
}

const std::string kWhole = packed({.kind = Message::Kind::Result, .tasks = {7}, .text = "r7"});

/// Ways of a worker to end, and what is said of them.
const struct {
  std::function<void()> end;
  const char* text;
} kEnds[] = {
    {[] { kill(getpid(), SIGKILL); }, "signal 9 (Killed)"},
    {[] { _exit(3); }, "exit code 3"},
    {[] { throw std::runtime_error("lost the thread"); }, "lost the thread"},
    {[] { throw std::bad_alloc(); }, "not enough memory"},
    {[] {
       sendRaw(kWhole.substr(0, kWhole.size() - 1));
       _exit(0);
     },
     "exit code 0"},
    {[] { sendRaw(std::string(100, '\xff')); }, "bytes that are not a message"},
    {[] { sendRaw(packed({.kind = Message::Kind::Tasks})); }, "bytes that are not a message"},
    {[] { sendRaw(packed({.kind = Message::Kind::Result, .tasks = {99}})); },
     "a result that nobody asked for"},
};

TEST(LocalCrew, WorkerEnds_CostsATryOrTheTaskThatAlwaysDoesIt) {
  for (const auto& ending : kEnds) {
    const char* text = ending.text;
    for (const bool always : {false, true}) {
      SharedCounter deaths;
      LocalCrew crew(2, [&](Task task) -> Answer {
        if (task == 7 && (always || deaths.next() == 0)) ending.end();
        return {.isFailed = task == 9, .content = "r" + std::to_string(task)};
      });
      const std::vector<Outcome> outcomes = runAll(crew, 20);
      ASSERT_EQ(outcomes.size(), 20) << text;
      for (Task task = 0; task < outcomes.size(); ++task) {
        const Outcome& outcome = outcomes[task];
        const bool isBlamed = task == 7 && always;
        EXPECT_EQ(outcome.task, task);
        EXPECT_EQ(outcome.isFailed, isBlamed || task == 9) << text;
        EXPECT_EQ(outcome.content,
                  isBlamed ? std::string("its worker ended, also when it was tried alone: ") + text
                           : "r" + std::to_string(task));
      }
      EXPECT_GT(outcomes[7].tries, 1) << text;
    }
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
}

TEST(LocalCrew, WorkersKilledFromOutside_AllTasksAreDone) {
  LocalCrew crew(3, [](Task) -> Answer { return {.content = std::to_string(getpid())}; });
  int results = 0;
  const auto killSome = [&](const Outcome& outcome) {
    const pid_t worker = std::stoi(outcome.content);
    EXPECT_NE(worker, getpid());
    kill(worker, SIGINT);  // is ignored
    if (++results % 100 == 0) kill(worker, SIGKILL);
  };
  EXPECT_EQ(runAll(crew, 500, killSome).size(), 500);
}

TEST(LocalCrew, SchedulerIsKilled_WorkersEnd) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t scheduler = fork();
  if (scheduler == 0) {
    close(ends[0]);
    LocalCrew crew(3, [&](Task) -> Answer {
      if (write(ends[1], "x", 1) == 1) pause();
      return {};
    });
    runAll(crew, 3);
    _exit(0);
  }
  close(ends[1]);
  char byte = 0;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(read(ends[0], &byte, 1), 1);
  kill(scheduler, SIGKILL);
  waitpid(scheduler, nullptr, 0);
  EXPECT_EQ(read(ends[0], &byte, 1), 0) << "as long as a worker lives, this waits";
  close(ends[0]);
}

TEST(LocalCrew, ProcessHasThreads_NoWorker) {
  std::atomic<bool> isOver = false;
  std::thread other([&] { isOver.wait(false); });
  LocalCrew crew(1, [](Task) { return Answer(); });
  EXPECT_EQ(crew.fill(0), "a process with threads cannot start workers");
  isOver = true;
  isOver.notify_one();
  other.join();
}

TEST(MessageStream, CutAnywhere_WholeMessagesOnly) {
  const std::string both = kWhole + packed({.kind = Message::Kind::Failure, .text = "why"});
  for (std::size_t cut = 0; cut <= both.size(); ++cut) {
    MessageStream stream;
    stream.add(std::string_view(both).substr(0, cut));
    std::string texts;
    while (const auto message = stream.next()) texts += message->text;
    EXPECT_EQ(texts, cut < kWhole.size() ? "" : cut < both.size() ? "r7" : "r7why");
    stream.add(std::string_view(both).substr(cut));
    while (const auto message = stream.next()) texts += message->text;
    EXPECT_EQ(texts, "r7why");
  }
}

TEST(MessageStream, ByteIsWrong_ErrorOrAnotherMessageButNeverMore) {
  for (std::size_t place = 0; place < kWhole.size(); ++place) {
    for (const char change : {'\x01', '\x10', '\x80', '\xff'}) {
      std::string bytes = kWhole;
      bytes[place] = static_cast<char>(bytes[place] ^ change);
      MessageStream stream;
      stream.add(bytes);
      try {
        const auto message = stream.next();
        // The kind stands at both ends, and both must agree.
        EXPECT_NE(place, sizeof(std::uint64_t));
        EXPECT_NE(place, kWhole.size() - 1);
        const bool isLength = place < sizeof(std::uint64_t);
        EXPECT_EQ(message.has_value(), !isLength) << place;
      } catch (const contract::CutError&) {
        EXPECT_NE(bytes, kWhole);
      }
    }
  }
}

}  // namespace
}  // namespace zdb::sweep
