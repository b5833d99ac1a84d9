#include "zxf_systemcalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <string>
#include <vector>

// The linker fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_openat(int, const char*, int, mode_t);
ssize_t __real_pread(int, void*, size_t, off_t);
ssize_t __real_pwrite(int, const void*, size_t, off_t);
int __real_renameat(int, const char*, int, const char*);
int __real_linkat(int, const char*, int, const char*, int);
int __real_unlinkat(int, const char*, int);
int __real_fstat(int, struct stat*);
int __real_close(int);
}

namespace zxftest {

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
    __real_pwrite(file.keeper, bytes.data(), bytes.size(), write.offset);
  }
  if (event == Event::WritesDropped && ftruncate(file.keeper, file.syncedSize) != 0) _exit(1);
}

void losePowerNow() {
  if (!state.kind->isDeadly() || state.kind->event == Event::Death) return;
  for (const Unsynced& file : state.files) garble(file, state.kind->event);
  if (state.kind->event != Event::WritesDropped) return;
  for (; !state.renamed.empty(); state.renamed.pop_back()) {
    const auto& [folder, name, old] = state.renamed.back();
    __real_unlinkat(folder, name.c_str(), 0);
    if (!old.empty()) __real_renameat(folder, old.c_str(), folder, name.c_str());
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

}  // namespace zxftest

using zxftest::Call;
using zxftest::countMet;
using zxftest::meets;
using zxftest::state;

// Wrapped functions that do nothing but fail.
#define ZXF_WRAP(call, name, parameters, arguments)    \
  extern "C" int __real_##name parameters;             \
  extern "C" int __wrap_##name parameters {            \
    return meets(call) ? -1 : __real_##name arguments; \
  }

ZXF_WRAP(Call::Open, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
ZXF_WRAP(Call::Status, fstat, (int fd, struct stat* status), (fd, status))
ZXF_WRAP(Call::Status, fstatat, (int folder, const char* name, struct stat* status, int flags),
         (folder, name, status, flags))
ZXF_WRAP(Call::Unlink, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
ZXF_WRAP(Call::Mode, fchown, (int fd, uid_t owner, gid_t group), (fd, owner, group))
ZXF_WRAP(Call::Mode, fchmod, (int fd, mode_t mode), (fd, mode))
ZXF_WRAP(Call::Lock, flock, (int fd, int operation), (fd, operation))

extern "C" {

int __wrap_openat(int folder, const char* name, int flags, mode_t mode) {
  if (meets(Call::Open)) return -1;
  if (!zxftest::hasNamelessFiles && (flags & O_TMPFILE) == O_TMPFILE) {
    errno = EOPNOTSUPP;
    return -1;
  }
  return __real_openat(folder, name, flags, mode);
}

int __wrap_close(int fd) {
  for (zxftest::Unsynced& file : state.files) file.fd = file.fd == fd ? -1 : file.fd;
  const bool fails = meets(Call::Close);
  const int result = __real_close(fd);
  return fails ? -1 : result;
}

ssize_t __wrap_pread(int fd, void* bytes, size_t size, off_t offset) {
  size = countMet(Call::Read, size);
  return size == 0 ? -1 : __real_pread(fd, bytes, size, offset);
}

ssize_t __wrap_pwrite(int fd, const void* bytes, size_t size, off_t offset) {
  size = countMet(Call::Write, size);
  if (size == 0) return -1;
  zxftest::rememberWrite(fd, size, offset);
  return __real_pwrite(fd, bytes, size, offset);
}

// Not brought to any disk: what a loss of power takes is made up here.
int __wrap_fsync(int fd) {
  if (meets(Call::Sync)) return -1;
  zxftest::rememberSync(fd);
  return 0;
}

int __wrap_renameat(int from, const char* old, int to, const char* name) {
  if (meets(Call::Rename)) return -1;
  zxftest::rememberName(to, name);
  return __real_renameat(from, old, to, name);
}

int __wrap_linkat(int from, const char* old, int to, const char* name, int flags) {
  if (meets(Call::Link)) return -1;
  zxftest::rememberName(to, name);
  return __real_linkat(from, old, to, name, flags);
}

size_t __real_ZSTD_compressCCtx(void*, void*, size_t, const void*, size_t, int);
size_t __wrap_ZSTD_compressCCtx(void* context, void* to, size_t room, const void* from, size_t size,
                                int level) {
  if (meets(Call::Pack)) return -static_cast<size_t>(ZSTD_error_memory_allocation);
  return __real_ZSTD_compressCCtx(context, to, room, from, size, level);
}

size_t __real_ZSTD_decompressDCtx(void*, void*, size_t, const void*, size_t);
size_t __wrap_ZSTD_decompressDCtx(void* context, void* to, size_t room, const void* from,
                                  size_t size) {
  if (meets(Call::Pack)) return -static_cast<size_t>(ZSTD_error_memory_allocation);
  return __real_ZSTD_decompressDCtx(context, to, room, from, size);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
