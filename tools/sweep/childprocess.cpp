#include "sweep/childprocess.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "contract/process.h"
#include "sweep/crew.h"

namespace zdb::sweep {

namespace {

using contract::Descriptor;

bool hasThreads() {
  std::error_code unknown;
  const std::filesystem::directory_iterator threads("/proc/self/task", unknown);
  return !unknown && std::distance(begin(threads), end(threads)) > 1;
}

[[noreturn]] void failBySystem(const char* what) {
  throw CrewError(std::string(what) + ": " + std::strerror(errno));
}

}  // namespace

ChildProcess::ChildProcess(const std::function<int(int socket)>& body) {
  if (hasThreads()) throw CrewError("a process with threads cannot start workers");
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    failBySystem("cannot make a socket");
  }
  socket_ = Descriptor(ends[0]);
  const Descriptor theirs(ends[1]);
  id_ = contract::forkForThis();
  if (id_ < 0) failBySystem("cannot start a process");
  if (id_ > 0) return;
  sigset_t interrupt;  // blocked rather than ignored, whatever handlers the body installs
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  sigprocmask(SIG_BLOCK, &interrupt, nullptr);
  release();
  _exit(body(theirs.get()));
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : id_(std::exchange(other.id_, 0)), socket_(std::move(other.socket_)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
  std::swap(id_, other.id_);
  std::swap(socket_, other.socket_);
  return *this;
}

int ChildProcess::end() {
  int status = 0;
  if (exists()) {
    kill(id_, SIGKILL);
    status = contract::waitFor(id_);
  }
  release();
  return status;
}

void ChildProcess::release() {
  id_ = 0;
  socket_ = Descriptor();
}

std::string describeEnd(int status) {
  if (!WIFSIGNALED(status)) return "exit code " + std::to_string(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  return "signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

}  // namespace zdb::sweep
