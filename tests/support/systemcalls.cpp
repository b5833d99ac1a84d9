#include "support/systemcalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ourlibraries.h"

namespace zdb::test {

namespace {

bool hasNamelessFiles = true;

// What a file or folder has not been told to bring to the disk yet.
struct Unsynced {
  int fd;      // of the library, -1 when it is closed
  int keeper;  // our own descriptor of the same file
  off_t syncedSize;
  struct Write {
    off_t offset;
    size_t size;
  };
  std::vector<Write> writes;
};

// A name that a folder may forget, and what it meant before.
struct Renamed {
  int folder;
  std::string name;
  std::string old;  // the name of a second link, empty if there was nothing
};

struct State {
  const SystemFault* kind = nullptr;
  int first = 0;
  int count = 0;
  int calls = 0;
  int injected = 0;
  Calls failed{};
  std::vector<Unsynced> files;
  std::vector<Renamed> renamed;
} state;

void garble(const Unsynced& file, Event event) {
  std::minstd_rand random(state.first);
  for (const Unsynced::Write& write : file.writes) {
    if (event == Event::WritesReordered && random() % 2 == 0) continue;
    std::string bytes(write.size, '\0');
    if (event == Event::WritesGarbled)
      std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() >> 8); });
    if (pwrite(file.keeper, bytes.data(), bytes.size(), write.offset) < 0) _exit(1);
  }
  if (event == Event::WritesDropped && ftruncate(file.keeper, file.syncedSize) != 0) _exit(1);
}

// From then on, calls are what they are without faults.
void losePowerNow() {
  const SystemFault& kind = *std::exchange(state.kind, nullptr);
  if (!kind.isDeadly() || kind.event == Event::Death) return;
  for (const Unsynced& file : state.files) garble(file, kind.event);
  if (kind.event != Event::WritesDropped) return;
  for (; !state.renamed.empty(); state.renamed.pop_back()) {
    const auto& [folder, name, old] = state.renamed.back();
    unlinkat(folder, name.c_str(), 0);
    if (!old.empty()) renameat(folder, old.c_str(), folder, name.c_str());
  }
}

bool isOfLibrary(void* caller) {
  Dl_info info;
  return dladdr(caller, &info) != 0 && zdb::test::isOurLibrary(info.dli_fname);
}

// Whether a call of this kind is to fail now, with errno set; or the process ends.
bool meets(Call call) {
  if (state.kind == nullptr || !state.kind->calls.contains(call)) return false;
  const int number = ++state.calls;
  if (number < state.first || number - state.first >= state.count) return false;
  ++state.injected;
  state.failed.insert(call);
  if (state.kind->isDeadly()) {
    losePowerNow();
    _exit(SystemFaults::kExitOfTheDead);
  }
  errno = state.kind->error;
  return state.kind->event == Event::Error;
}

size_t countMet(Call call, size_t size) {
  const int before = state.injected;
  if (meets(call)) return 0;
  return state.injected > before ? (size + 1) / 2 : size;
}

void rememberWrite(int fd, size_t size, off_t offset) {
  if (state.kind == nullptr || !state.kind->isDeadly()) return;
  auto file = std::ranges::find(state.files, fd, &Unsynced::fd);
  if (file == state.files.end()) {
    state.files.push_back({fd, fcntl(fd, F_DUPFD_CLOEXEC, 0), 0, {}});
    file = state.files.end() - 1;
  }
  file->writes.push_back({offset, size});
}

void rememberSync(int fd) {
  struct stat status;
  fstat(fd, &status);
  for (; S_ISDIR(status.st_mode) && !state.renamed.empty(); state.renamed.pop_back()) {
    const auto& [folder, name, old] = state.renamed.back();
    if (!old.empty()) unlinkat(folder, old.c_str(), 0);
  }
  for (Unsynced& file : state.files) {
    if (file.fd != fd) continue;
    file.writes.clear();
    file.syncedSize = status.st_size;
  }
}

// Keeps what a name means.
void rememberName(int folder, const char* name) {
  if (state.kind == nullptr || state.kind->event != Event::WritesDropped) return;
  const int keeper = fcntl(folder, F_DUPFD_CLOEXEC, 0);
  std::string old = "old" + std::to_string(state.renamed.size());
  if (linkat(keeper, name, keeper, old.c_str(), 0) != 0) old.clear();
  state.renamed.push_back({keeper, name, old});
}

}  // namespace

SystemFaults::SystemFaults(const SystemFault& kind, int first, int count) {
  state = {&kind, first, count, 0, 0, {}, {}, {}};
}

SystemFaults::~SystemFaults() {
  state = {};
}

int SystemFaults::injected() const {
  return state.injected;
}

bool SystemFaults::hasFailed(Call call) const {
  return state.failed.contains(call);
}

void SystemFaults::losePower() const {
  losePowerNow();
}

void setNamelessFiles(bool possible) {
  hasNamelessFiles = possible;
}

}  // namespace zdb::test

using namespace zdb::test;

// Named by the linker only, so that the headers' declarations do not meet these. What the test
// program itself calls is not met.
#define ZDB_REAL(name) static const auto real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, #name))
#define ZDB_WRAP(result, name, parameters, arguments, work)                          \
  extern "C" [[gnu::visibility("default")]] result our_##name parameters asm(#name); \
  result our_##name parameters {                                                     \
    using Real = result(*) parameters;                                               \
    ZDB_REAL(name);                                                                  \
    if (!isOfLibrary(__builtin_return_address(0))) return real arguments;            \
    work                                                                             \
  }
// A function that fails when its turn has come.
#define ZDB_CALL(call, result, failure, name, parameters, arguments) \
  ZDB_WRAP(result, name, parameters, arguments, { return meets(call) ? failure : real arguments; })

ZDB_CALL(Call::Open, int, -1, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
ZDB_CALL(Call::Status, int, -1, fstat, (int fd, struct stat* status), (fd, status))
ZDB_CALL(Call::Status, int, -1, fstatat,
         (int folder, const char* name, struct stat* status, int flags),
         (folder, name, status, flags))
ZDB_CALL(Call::Unlink, int, -1, unlinkat, (int folder, const char* name, int flags),
         (folder, name, flags))
ZDB_CALL(Call::Mode, int, -1, fchown, (int fd, uid_t owner, gid_t group), (fd, owner, group))
ZDB_CALL(Call::Memory, int, -1, memfd_create, (const char* name, unsigned flags), (name, flags))
ZDB_CALL(Call::Lock, int, -1, flock, (int fd, int operation), (fd, operation))
ZDB_CALL(Call::Pack, size_t, -size_t{ZSTD_error_memory_allocation}, ZSTD_compressCCtx,
         (void* context, void* to, size_t room, const void* from, size_t size, int level),
         (context, to, room, from, size, level))
ZDB_CALL(Call::Pack, size_t, -size_t{ZSTD_error_memory_allocation}, ZSTD_decompressDCtx,
         (void* context, void* to, size_t room, const void* from, size_t size),
         (context, to, room, from, size))

ZDB_WRAP(int, openat, (int folder, const char* name, int flags, mode_t mode),
         (folder, name, flags, mode), {
           if (meets(Call::Open)) return -1;
           const bool isPossible = hasNamelessFiles || (flags & O_TMPFILE) != O_TMPFILE;
           errno = EOPNOTSUPP;
           return isPossible ? real(folder, name, flags, mode) : -1;
         })

// Until a file has the mode of its target, nobody else may open it by a name.
ZDB_WRAP(int, fchmod, (int fd, mode_t mode), (fd, mode), {
  if (meets(Call::Mode)) return -1;
  struct stat status;
  if (fstat(fd, &status) != 0 || (status.st_nlink > 0 && (status.st_mode & 077) != 0)) {
    std::fputs("a temporary file that others may open\n", stderr);
    std::abort();
  }
  return real(fd, mode);
})

// Not brought to any disk: what a loss of power takes is made up here.
ZDB_WRAP(int, fsync, (int fd), (fd), {
  if (meets(Call::Sync)) return -1;
  rememberSync(fd);
  return 0;
})

ZDB_WRAP(int, renameat, (int from, const char* old, int to, const char* name),
         (from, old, to, name), {
           if (meets(Call::Rename)) return -1;
           rememberName(to, name);
           return real(from, old, to, name);
         })

ZDB_WRAP(int, linkat, (int from, const char* old, int to, const char* name, int flags),
         (from, old, to, name, flags), {
           if (meets(Call::Link)) return -1;
           rememberName(to, name);
           return real(from, old, to, name, flags);
         })

// Closes whatever it says.
ZDB_WRAP(int, close, (int fd), (fd), {
  for (Unsynced& file : state.files) file.fd = file.fd == fd ? -1 : file.fd;
  const bool fails = meets(Call::Close);
  const int error = errno;
  const int result = real(fd);
  if (fails) errno = error;
  return fails ? -1 : result;
})

ZDB_WRAP(ssize_t, pread, (int fd, void* bytes, size_t size, off_t offset),
         (fd, bytes, size, offset), {
           size = countMet(Call::Read, size);
           return size == 0 ? -1 : real(fd, bytes, size, offset);
         })

ZDB_WRAP(ssize_t, write, (int fd, const void* bytes, size_t size), (fd, bytes, size), {
  size = countMet(Call::Write, size);
  return size == 0 ? -1 : real(fd, bytes, size);
})

ZDB_WRAP(ssize_t, pwrite, (int fd, const void* bytes, size_t size, off_t offset),
         (fd, bytes, size, offset), {
           size = countMet(Call::Write, size);
           if (size == 0) return -1;
           rememberWrite(fd, size, offset);
           return real(fd, bytes, size, offset);
         })
