#include "kit/reader/confinement.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "kit/modelfile/protocol.h"

namespace zdb::kit::modelfile {

namespace {

// Landlock as the kernel documents it. Its header is younger than some systems we build on.
constexpr long kCreateRuleset = 444;
constexpr long kRestrictSelf = 446;
constexpr unsigned kAskVersion = 1;

struct Ruleset {
  std::uint64_t files;    // one bit for each kind of access
  std::uint64_t network;  // from version 4
  std::uint64_t scopes;   // from version 6: abstract sockets and signals
};

// How many kinds of access to files each version knows; later versions know no fewer.
constexpr std::array kFileAccesses = {0, 13, 14, 15, 15, 16};

// Everything that this kernel can refuse, for the kernel refuses a ruleset with more.
Ruleset everything(long version) {
  const auto known = std::min<std::size_t>(version, kFileAccesses.size() - 1);
  return {(std::uint64_t{1} << kFileAccesses[known]) - 1, version >= 4 ? 3U : 0U,
          version >= 6 ? 3U : 0U};
}

bool refuseByLandlock() {
  const long version = syscall(kCreateRuleset, nullptr, 0, kAskVersion);
  if (version < 1) return false;
  const Ruleset rules = everything(version);
  const long ruleset = syscall(kCreateRuleset, &rules, sizeof rules, 0);
  if (ruleset < 0) return false;
  const bool isDone = syscall(kRestrictSelf, ruleset, 0) == 0;
  close(static_cast<int>(ruleset));
  return isDone;
}

// Filters know system calls by the numbers of one architecture.
#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr std::uint32_t kArchitecture = 0;
#endif

constexpr long kOpening[] = {
    SYS_openat,
#ifdef SYS_open
    SYS_open,
#endif
};

// What GLPK, memory and threads need.
constexpr long kNeeded[] = {
    SYS_read,        SYS_write,        SYS_writev,         SYS_close,
    SYS_lseek,       SYS_fstat,        SYS_newfstatat,     SYS_mmap,
    SYS_munmap,      SYS_mremap,       SYS_mprotect,       SYS_madvise,
    SYS_brk,         SYS_futex,        SYS_seccomp,        SYS_set_robust_list,
    SYS_rseq,        SYS_rt_sigaction, SYS_rt_sigprocmask, SYS_rt_sigreturn,
    SYS_sigaltstack, SYS_exit,         SYS_exit_group,     SYS_restart_syscall,
    SYS_getpid,      SYS_gettid,       SYS_clock_gettime,  SYS_gettimeofday,
    SYS_sysinfo,     SYS_getrandom,    SYS_sched_yield,    SYS_sched_getaffinity};

// A filter of system calls: an answer for each of some, and one for all others.
class Filter {
 public:
  Filter() {
    load(offsetof(seccomp_data, arch));
    skipUnless(BPF_JEQ, kArchitecture, 1);
    add(BPF_JMP | BPF_JA, 1);  // over the next
    add(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
    load(offsetof(seccomp_data, nr));
  }

  void answer(long call, std::uint32_t action) {
    skipUnless(BPF_JEQ, static_cast<std::uint32_t>(call), 1);
    add(BPF_RET | BPF_K, action);
  }

  // Allows clone for threads alone. Its first argument has the flags.
  void answerClone() {
    skipUnless(BPF_JEQ, SYS_clone, 4);
    load(offsetof(seccomp_data, args));
    skipUnless(BPF_JSET, CLONE_THREAD, 1);
    add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    add(BPF_RET | BPF_K, kNoSuchCall);
  }

  bool install(std::uint32_t otherwise) {
    if (kArchitecture == 0) return false;
    add(BPF_RET | BPF_K, otherwise);
    const sock_fprog program = {static_cast<unsigned short>(program_.size()), program_.data()};
    return syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
  }

  // Has libc do without, as on a kernel that is older than the call.
  static constexpr std::uint32_t kNoSuchCall = SECCOMP_RET_ERRNO | ENOSYS;

 private:
  void add(int code, std::uint32_t value) {
    program_.push_back({static_cast<std::uint16_t>(code), 0, 0, value});
  }
  void load(std::size_t field) { add(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(field)); }
  void skipUnless(int test, std::uint32_t value, std::uint8_t skipped) {
    program_.push_back({static_cast<std::uint16_t>(BPF_JMP | test | BPF_K), 0, skipped, value});
  }

  std::vector<sock_filter> program_;
};

bool refuseBySeccomp() {
  Filter filter;
  for (const long call : kNeeded) filter.answer(call, SECCOMP_RET_ALLOW);
  for (const long call : kOpening) filter.answer(call, SECCOMP_RET_ALLOW);
  filter.answerClone();
  return filter.install(Filter::kNoSuchCall);
}

bool hasLandlock = false;  // enforced since confine()

bool canRead() {
  return open("/proc/self/exe", O_RDONLY | O_CLOEXEC) >= 0;
}

bool canCreate() {
  const std::string path = P_tmpdir "/zkitreader64-" + std::to_string(getpid());
  if (open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR) < 0) {
    return false;
  }
  unlink(path.c_str());
  return true;
}

bool canConnect() {
  return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0) >= 0;
}

// Where no process can be started, only a call that cannot succeed is tried.
bool canExecute() {
  const pid_t child = fork();
  if (child < 0) return syscall(SYS_execve, nullptr, nullptr, nullptr) < 0 && errno == EFAULT;
  if (child == 0) {
    execl("/proc/self/exe", kReaderProgram, nullptr);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == kWrongUse;
}

bool canStartProcesses() {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  if (child > 0) waitpid(child, nullptr, 0);
  return child > 0;
}

struct Attempt {
  const char* what;
  bool (*isPossible)();
};

constexpr Attempt kFileAttempts[] = {{"read files", canRead}, {"create files", canCreate}};
constexpr Attempt kOtherAttempts[] = {{"open sockets", canConnect},
                                      {"start processes", canStartProcesses},
                                      {"execute programs", canExecute}};

std::string possible(std::span<const Attempt> attempts) {
  std::string all;
  for (const auto& [what, isPossible] : attempts) {
    if (isPossible()) all.append(all.empty() ? "" : ", ").append(what);
  }
  return all;
}

}  // namespace

bool confine() {
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
  hasLandlock = refuseByLandlock();
  return refuseBySeccomp() || hasLandlock;
}

bool refuseFiles() {
  Filter filter;
  for (const long call : kOpening) filter.answer(call, SECCOMP_RET_ERRNO | EACCES);
  return filter.install(SECCOMP_RET_ALLOW) || hasLandlock;
}

std::string tryConfinement() {
  confine();
  const std::string files = possible(kFileAttempts);
  const std::string others = possible(kOtherAttempts);
  refuseFiles();
  const bool isPartial = possible(kFileAttempts).empty();
  const std::string all = files + (files.empty() || others.empty() ? "" : ", ") + others;
  return (all.empty() ? "full" : isPartial ? "partial" : "none") + ("\n" + all);
}

}  // namespace zdb::kit::modelfile
