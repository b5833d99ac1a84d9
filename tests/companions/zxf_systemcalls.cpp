#include "zxf_systemcalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// The linker fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_linkat(int, const char*, int, const char*, int);
int __real_unlinkat(int, const char*, int);
int __real_fstat(int, struct stat*);
}

namespace zdb::test::zxf {

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
  const FaultKind* kind = nullptr;
  int first = 0;
  int count = 0;
  int calls = 0;
  int injected = 0;
  std::set<Call> failed;
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
  const FaultKind& kind = *std::exchange(state.kind, nullptr);
  if (!kind.isDeadly() || kind.event == Event::Death) return;
  for (const Unsynced& file : state.files) garble(file, kind.event);
  if (kind.event != Event::WritesDropped) return;
  for (; !state.renamed.empty(); state.renamed.pop_back()) {
    const auto& [folder, name, old] = state.renamed.back();
    unlinkat(folder, name.c_str(), 0);
    if (!old.empty()) renameat(folder, old.c_str(), folder, name.c_str());
  }
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
    _exit(Faults::kExitOfTheDead);
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
  __real_fstat(fd, &status);
  for (; S_ISDIR(status.st_mode) && !state.renamed.empty(); state.renamed.pop_back()) {
    const auto& [folder, name, old] = state.renamed.back();
    if (!old.empty()) __real_unlinkat(folder, old.c_str(), 0);
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
  if (__real_linkat(keeper, name, keeper, old.c_str(), 0) != 0) old.clear();
  state.renamed.push_back({keeper, name, old});
}

}  // namespace

Faults::Faults(const FaultKind& kind, int first, int count) {
  state = {&kind, first, count, 0, 0, {}, {}, {}};
}

Faults::~Faults() {
  state = {};
}

int Faults::injected() const {
  return state.injected;
}

bool Faults::hasFailed(Call call) const {
  return state.failed.contains(call);
}

void Faults::losePower() const {
  losePowerNow();
}

void setNamelessFiles(bool possible) {
  hasNamelessFiles = possible;
}

}  // namespace zdb::test::zxf

using namespace zdb::test::zxf;

// A function that fails when its turn has come, and otherwise does some work.
#define ZXF_WRAP(call, result, failure, name, parameters, work) \
  extern "C" result __real_##name parameters;                   \
  extern "C" result __wrap_##name parameters {                  \
    if (meets(call)) return failure;                            \
    work;                                                       \
  }
#define ZXF_WRAP_CALL(call, name, parameters, arguments) \
  ZXF_WRAP(call, int, -1, name, parameters, return __real_##name arguments)

ZXF_WRAP_CALL(Call::Open, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
ZXF_WRAP_CALL(Call::Status, fstat, (int fd, struct stat* status), (fd, status))
ZXF_WRAP_CALL(Call::Status, fstatat, (int folder, const char* name, struct stat* status, int flags),
              (folder, name, status, flags))
ZXF_WRAP_CALL(Call::Unlink, unlinkat, (int folder, const char* name, int flags),
              (folder, name, flags))
ZXF_WRAP_CALL(Call::Mode, fchown, (int fd, uid_t owner, gid_t group), (fd, owner, group))
ZXF_WRAP_CALL(Call::Lock, flock, (int fd, int operation), (fd, operation))

ZXF_WRAP(Call::Open, int, -1, openat, (int folder, const char* name, int flags, mode_t mode), {
  const bool isPossible = hasNamelessFiles || (flags & O_TMPFILE) != O_TMPFILE;
  errno = EOPNOTSUPP;
  return isPossible ? __real_openat(folder, name, flags, mode) : -1;
})

// Until a file has the mode of its target, nobody else may open it by a name.
ZXF_WRAP(Call::Mode, int, -1, fchmod, (int fd, mode_t mode), {
  struct stat status;
  if (__real_fstat(fd, &status) != 0 || (status.st_nlink > 0 && (status.st_mode & 077) != 0))
    throw std::runtime_error("a temporary file that others may open");
  return __real_fchmod(fd, mode);
})

// Not brought to any disk: what a loss of power takes is made up here.
ZXF_WRAP(Call::Sync, int, -1, fsync, (int fd), {
  rememberSync(fd);
  return 0;
})

ZXF_WRAP(Call::Rename, int, -1, renameat, (int from, const char* old, int to, const char* name), {
  rememberName(to, name);
  return __real_renameat(from, old, to, name);
})

ZXF_WRAP(Call::Link, int, -1, linkat,
         (int from, const char* old, int to, const char* name, int flags), {
           rememberName(to, name);
           return __real_linkat(from, old, to, name, flags);
         })

ZXF_WRAP(Call::Pack, size_t, -size_t{ZSTD_error_memory_allocation}, ZSTD_compressCCtx,
         (void* context, void* to, size_t room, const void* from, size_t size, int level),
         return __real_ZSTD_compressCCtx(context, to, room, from, size, level))
ZXF_WRAP(Call::Pack, size_t, -size_t{ZSTD_error_memory_allocation}, ZSTD_decompressDCtx,
         (void* context, void* to, size_t room, const void* from, size_t size),
         return __real_ZSTD_decompressDCtx(context, to, room, from, size))

extern "C" {

int __real_close(int);
int __wrap_close(int fd) {
  for (Unsynced& file : state.files) file.fd = file.fd == fd ? -1 : file.fd;
  const bool fails = meets(Call::Close);
  const int result = __real_close(fd);
  return fails ? -1 : result;
}

ssize_t __real_pread(int, void*, size_t, off_t);
ssize_t __wrap_pread(int fd, void* bytes, size_t size, off_t offset) {
  size = countMet(Call::Read, size);
  return size == 0 ? -1 : __real_pread(fd, bytes, size, offset);
}

ssize_t __real_pwrite(int, const void*, size_t, off_t);
ssize_t __wrap_pwrite(int fd, const void* bytes, size_t size, off_t offset) {
  size = countMet(Call::Write, size);
  if (size == 0) return -1;
  rememberWrite(fd, size, offset);
  return __real_pwrite(fd, bytes, size, offset);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
