#include "sweep/localcrew.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "contract/packing.h"
#include "sweep/serve.h"

namespace zdb::sweep {

namespace {

using contract::Descriptor;

constexpr int kPatience = 100;  // milliseconds

/// A copy of a process has but one thread, and whatever the others had locked stays so.
bool hasThreads() {
  std::error_code unknown;
  const std::filesystem::directory_iterator threads("/proc/self/task", unknown);
  return !unknown && std::distance(begin(threads), end(threads)) > 1;
}

std::string describe(int status) {
  if (!WIFSIGNALED(status)) return "exit code " + std::to_string(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  return "signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

}  // namespace

LocalCrew::LocalCrew(std::size_t workers, Work work) : work_(std::move(work)), workers_(workers) {}

LocalCrew::~LocalCrew() {
  for (Worker& worker : workers_) end(worker);
}

std::string LocalCrew::fill(std::size_t worker) {
  end(workers_[worker]);
  std::erase_if(events_, [&](const Event& event) { return event.worker == worker; });
  if (hasThreads()) return "a process with threads cannot start workers";
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return std::string("cannot make a socket: ") + std::strerror(errno);
  }
  Descriptor ours(ends[0]);
  const Descriptor theirs(ends[1]);
  const pid_t parent = getpid();
  const pid_t id = fork();
  if (id < 0) return std::string("cannot start a process: ") + std::strerror(errno);
  if (id == 0) {
    ours = Descriptor();
    beWorker(theirs.get(), parent);
  }
  workers_[worker] = {id, std::move(ours)};
  return {};
}

// Leaves without destructors and without writing what the copied process had not yet written.
void LocalCrew::beWorker(int socket, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // which ended before
  std::signal(SIGINT, SIG_IGN);
  for (Worker& other : workers_) other.socket = Descriptor();
  _exit(serve(socket, work_) ? 0 : 1);
}

void LocalCrew::send(std::size_t worker, std::span<const Task> tasks) {
  Message message;
  message.tasks.assign(tasks.begin(), tasks.end());
  sendMessage(workers_[worker].socket.get(), message);
}

Event LocalCrew::wait() {
  return wait(-1);
}

Event LocalCrew::wait(int alsoFrom) {
  if (events_.empty()) poll(alsoFrom);
  if (events_.empty()) return {};
  Event event = std::move(events_.front());
  events_.pop_front();
  return event;
}

void LocalCrew::poll(int alsoFrom) {
  std::vector<pollfd> sockets;  // negative ones are passed over
  for (const Worker& worker : workers_) sockets.push_back({worker.socket.get(), POLLIN, 0});
  sockets.push_back({alsoFrom, POLLIN, 0});
  if (::poll(sockets.data(), sockets.size(), kPatience) <= 0) return;
  for (std::size_t i = 0; i < workers_.size(); ++i) {
    if (sockets[i].revents != 0) receive(i);
  }
}

void LocalCrew::receive(std::size_t worker) {
  const bool isOpen = receiveInto(workers_[worker].stream, workers_[worker].socket.get(), false);
  try {
    takeMessages(worker);
  } catch (const contract::CutError&) {
    return bury(worker, "bytes that are not a message");
  }
  if (!isOpen && workers_[worker].id != 0) bury(worker, "");
}

void LocalCrew::takeMessages(std::size_t worker) {
  while (auto message = workers_[worker].stream.next()) {
    auto event = eventOf(std::move(*message));
    if (!event) throw contract::CutError();
    if (event->kind == Event::Kind::Death) return bury(worker, event->text);
    event->worker = worker;
    events_.push_back(std::move(*event));
  }
}

/// `how` is what it said itself, or did wrong; otherwise the system knows.
void LocalCrew::bury(std::size_t worker, const std::string& how) {
  const int status = end(workers_[worker]);
  events_.push_back(
      {.kind = Event::Kind::Death, .worker = worker, .text = how.empty() ? describe(status) : how});
}

/// Returns the exit status. A process that has ended already keeps the one that it has.
int LocalCrew::end(Worker& worker) {
  int status = 0;
  if (worker.id > 0) {
    kill(worker.id, SIGKILL);
    while (waitpid(worker.id, &status, 0) < 0 && errno == EINTR) {
    }
  }
  worker = {};
  return status;
}

}  // namespace zdb::sweep
