// Workers whose supervisors are reached by lines of any kind.
#include "sweep/remotecrew.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <deque>
#include <stdexcept>

#include "support.h"
#include "sweep/childprocess.h"
#include "sweep/supervisor.h"

namespace zdb::sweep {
namespace {

/// Lines to supervisors that are processes of this machine.
class SocketLines : public Lines {
 public:
  SocketLines(std::size_t lines, const std::function<Work(std::size_t)>& make) {
    for (std::size_t i = 0; i < lines; ++i) {
      supervisors_.emplace_back([&, i](int socket) {
        for (ChildProcess& other : supervisors_) other.release();
        supervise(socket, [&] { return make(i); });
        return 0;
      });
    }
  }

  std::size_t size() const override { return supervisors_.size(); }
  void send(std::size_t line, const std::string& bytes) override {
    ::send(supervisors_[line].socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  std::optional<Piece> receive() override {
    std::vector<pollfd> sockets;
    for (const ChildProcess& each : supervisors_) sockets.push_back({each.socket(), POLLIN, 0});
    poll(sockets.data(), sockets.size(), 100);
    for (std::size_t i = 0; i < sockets.size(); ++i) {
      if (sockets[i].revents == 0) continue;
      Piece piece{i, std::string(7, 0)};  // so that messages come in parts
      const ssize_t count = read(sockets[i].fd, piece.bytes.data(), piece.bytes.size());
      piece.bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
      return piece;
    }
    return std::nullopt;
  }

 private:
  std::vector<ChildProcess> supervisors_;
};

TEST(RemoteCrew, WorkersDie_SupervisorsReplaceThemAndAllTasksAreDone) {
  for (const std::size_t lines : {1, 3}) {
    for (const std::size_t each : {1, 2}) {
      SharedCounter deaths;
      SocketLines sockets(lines, [&](std::size_t) -> Work {
        return [&](Task task) -> Answer {
          if (task % 10 == 3 && deaths.next() < 6) raise(SIGKILL);
          if (task == 21) _exit(9);
          return {.content = std::to_string(task)};
        };
      });
      RemoteCrew crew(sockets, each, "rank");
      std::string names;
      const auto outcomes = runAll(
          crew, 40, [&](const Outcome& outcome) { names += ' ' + crew.name(outcome.worker); });
      ASSERT_EQ(outcomes.size(), 40);
      EXPECT_EQ(outcomes[39].content, "39");
      EXPECT_EQ(outcomes[21].content,
                "its worker ended, also when it was tried alone: exit code 9");
      const char* last = lines == 1 ? (each == 1 ? ":0" : ":0.2") : (each == 1 ? ":2" : ":2.2");
      EXPECT_NE(names.find(last), std::string::npos) << names;
    }
  }
}

TEST(RemoteCrew, SupervisorCannotGoOn_IsNamed) {
  const auto run = [](const std::function<Work(std::size_t)>& make) -> std::string {
    SocketLines lines(3, make);
    RemoteCrew crew(lines, 1, "rank");
    try {
      runAll(crew, 1000);
      return "all done";
    } catch (const CrewError& failure) {
      return failure.what();
    }
  };
  EXPECT_EQ(run([](std::size_t line) -> Work {
              if (line == 2) throw std::runtime_error("cannot read plan.mps");
              return [](Task) { return Answer(); };
            }),
            "rank 2: cannot read plan.mps");
  const std::string text = run([](std::size_t line) -> Work {
    return [line, supervisor = getpid()](Task task) -> Answer {
      if (line == 1 && task > 100) kill(supervisor, SIGKILL);
      usleep(100);
      return {};
    };
  });
  EXPECT_TRUE(text.starts_with("rank 1 (")) << text;
  EXPECT_TRUE(text.ends_with("): its supervisor has ended")) << text;
}

/// Lines on which everything that will be received is written before.
class PaperLines : public Lines {
 public:
  std::deque<Message> incoming;
  std::size_t size() const override { return 1; }
  void send(std::size_t, const std::string&) override {}
  std::optional<Piece> receive() override {
    if (incoming.empty()) return std::nullopt;
    const std::string bytes = packed(incoming.front());
    incoming.pop_front();
    return Piece{0, bytes};
  }
};

TEST(RemoteCrew, MessageOfAnEarlierWorker_IsPassedOver) {
  PaperLines lines;
  RemoteCrew crew(lines, 1, "line");
  crew.fill(0);
  lines.incoming = {{.kind = Message::Kind::Ready, .text = "here"},
                    {.kind = Message::Kind::Result, .generation = 1, .tasks = {5}}};
  EXPECT_EQ(crew.wait().kind, Event::Kind::Nothing);
  EXPECT_EQ(crew.wait().task, 5);
  crew.fill(0);
  lines.incoming = {{.kind = Message::Kind::Death, .generation = 1},
                    {.kind = Message::Kind::Result, .generation = 2, .tasks = {6}}};
  EXPECT_EQ(crew.wait().kind, Event::Kind::Nothing);
  EXPECT_EQ(crew.wait().task, 6);
  for (const Message& senseless :
       {Message{.kind = Message::Kind::Result, .worker = 1, .tasks = {7}},
        Message{.kind = Message::Kind::Fill}}) {
    lines.incoming = {senseless};
    EXPECT_THROW(crew.wait(), CrewError);
  }
}

}  // namespace
}  // namespace zdb::sweep
