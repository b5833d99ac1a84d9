#include "support/systemcalls.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <cerrno>
#include <string_view>

namespace {

struct {
  int error;
  std::uint64_t number;  // 0: none fails
  bool fromThereOn, hasFailed;
  std::uint64_t calls;
} state;

bool meets(void* caller, bool canBeShort = false) {
  Dl_info info;
  if (state.number == 0 || (state.error == 0 && !canBeShort) || dladdr(caller, &info) == 0 ||
      !std::string_view(info.dli_fname).ends_with("64.so")) {
    return false;
  }
  const std::uint64_t call = ++state.calls;
  if (state.fromThereOn ? call < state.number : call != state.number) return false;
  state.hasFailed = true;
  errno = state.error;
  return true;
}

}  // namespace

#pragma GCC visibility push(default)

#define ZDB_REAL(type, name) \
  static const auto real = reinterpret_cast<type>(dlsym(RTLD_NEXT, #name))
#define ZDB_CALL(name, canBeInterrupted, parameters, arguments)  \
  extern "C" int name parameters {                               \
    ZDB_REAL(int(*) parameters, name);                           \
    const bool isApt = canBeInterrupted || state.error != EINTR; \
    if (isApt && meets(__builtin_return_address(0))) return -1;  \
    return real arguments;                                       \
  }
#define ZDB_TRANSFER(name, pointer)                                                             \
  extern "C" ssize_t name(int fd, pointer bytes, size_t size, off_t at) {                       \
    ZDB_REAL(ssize_t (*)(int, pointer, size_t, off_t), name);                                   \
    const bool isMet = meets(__builtin_return_address(0), true);                                \
    return isMet && state.error != 0 ? -1 : real(fd, bytes, isMet ? (size + 1) / 2 : size, at); \
  }

ZDB_CALL(open, true, (const char* path, int flags, mode_t mode), (path, flags, mode))
ZDB_CALL(openat, true, (int at, const char* path, int flags, mode_t mode), (at, path, flags, mode))
ZDB_CALL(fsync, true, (int fd), (fd))
ZDB_CALL(renameat, false, (int a, const char* from, int b, const char* to), (a, from, b, to))
ZDB_CALL(linkat, false, (int a, const char* from, int b, const char* to, int how),
         (a, from, b, to, how))
ZDB_TRANSFER(pread, void*)
ZDB_TRANSFER(pwrite, const void*)

extern "C" int close(int fd) {  // which closes whatever it says
  ZDB_REAL(int (*)(int), close);
  const bool isMet = meets(__builtin_return_address(0));
  const int error = errno;
  const int result = real(fd);
  errno = isMet ? error : errno;
  return isMet ? -1 : result;
}

#pragma GCC visibility pop

namespace zdb::test {

void armSystemCalls(int error, std::uint64_t number, bool fromThereOn) {
  state = {error, number, fromThereOn, false, 0};
}

bool disarmSystemCalls() {
  state.number = 0;
  return state.hasFailed;
}

}  // namespace zdb::test
