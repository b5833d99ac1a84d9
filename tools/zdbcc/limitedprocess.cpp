#include "limitedprocess.h"

#include <sys/resource.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "contract/process.h"

namespace zdb::tool {

namespace {

std::string tooLittle(unsigned megabytes) {
  return "not enough memory: --memory-limit is " + std::to_string(megabytes) + " MiB";
}

// Private memory that can be written. The size of the address space says little: threads and files
// reserve much of it that they never use.
void limitMemory(unsigned megabytes) {
  const rlim_t bytes = static_cast<rlim_t>(megabytes) << 20;
  rlimit limit{};
  getrlimit(RLIMIT_DATA, &limit);
  if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= bytes) return;
  limit.rlim_cur = bytes;
  if (setrlimit(RLIMIT_DATA, &limit) == 0) return;
  throw ToolError(std::string("cannot limit the memory: ") + std::strerror(errno));
}

/// Whether the library, the kit or a solver ran out of it; glpk names its allocator's file.
bool tellsOfMemory(std::string_view text) {
  return text.find("emory") != text.npos || text.find("alloc.c") != text.npos;
}

ExitCode doLimited(unsigned megabytes, const std::function<ExitCode()>& work) {
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  limitMemory(megabytes);
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw ToolError(tooLittle(megabytes));
  } catch (const std::runtime_error& failure) {
    if (!tellsOfMemory(failure.what())) throw;
    throw ToolError(tooLittle(megabytes) + " (" + failure.what() + ")");
  }
}

std::atomic<pid_t> worker = 0;

// A terminal sends Ctrl-C to both processes, a program to this one alone.
extern "C" void passOn(int signal, siginfo_t* info, void* /*context*/) {
  if (info->si_code == SI_USER) kill(worker, signal);
}

/// While the worker runs, signals that would end this process are for the worker.
class Forwarding {
 public:
  Forwarding() {
    struct sigaction action {};
    action.sa_sigaction = passOn;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    sigaction(SIGINT, &action, &interrupt_);
    sigaction(SIGTERM, &action, &termination_);
  }
  ~Forwarding() {
    sigaction(SIGINT, &interrupt_, nullptr);
    sigaction(SIGTERM, &termination_, nullptr);
  }
  Forwarding(const Forwarding&) = delete;
  Forwarding& operator=(const Forwarding&) = delete;

 private:
  struct sigaction interrupt_ {};
  struct sigaction termination_ {};
};

/// Holds these signals back.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGINT);
    sigaddset(&held, SIGTERM);
    sigprocmask(SIG_BLOCK, &held, &outer_);
  }
  ~HeldSignals() { sigprocmask(SIG_SETMASK, &outer_, nullptr); }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

 private:
  sigset_t outer_{};
};

ExitCode resultOf(int status, unsigned megabytes) {
  if (WIFEXITED(status)) return static_cast<ExitCode>(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  if (signal == SIGINT || signal == SIGTERM) raise(signal);
  throw ToolError(tooLittle(megabytes) + ", and the solver was ended by signal " +
                  std::to_string(signal));
}

}  // namespace

ExitCode withMemoryLimit(std::optional<unsigned> megabytes, const std::function<ExitCode()>& work) {
  if (!megabytes) return work();
  std::optional<HeldSignals> held(std::in_place);
  worker = zdb::contract::forkForThis();
  if (worker < 0) throw ToolError(std::string("cannot start a process: ") + std::strerror(errno));
  if (worker == 0) {
    held.reset();
    return doLimited(*megabytes, work);
  }
  int status = 0;
  {
    const Forwarding forwarding;
    held.reset();
    status = zdb::contract::waitFor(worker);
  }
  return resultOf(status, *megabytes);
}

}  // namespace zdb::tool
