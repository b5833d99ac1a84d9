#include "io/descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>
#include <vector>

#include "contract/descriptor.h"
#include "io/zxfsource.h"

namespace zdb {

namespace {

using contract::Descriptor;

/// A name under which the file can be opened again, as long as the descriptor is there.
std::string pathOf(const Descriptor& file) {
  return "/proc/self/fd/" + std::to_string(file.get());
}

/// Reports the error that a system call has left.
[[gnu::format(printf, 2, 3)]] bool failSystem(ZDB& db, const char* format, ...) {
  const char* reason = std::strerror(errno);
  char text[kMessageSize];
  std::va_list arguments;
  va_start(arguments, format);
  writeMessageV(text, format, arguments);
  va_end(arguments);
  return db.setLastError(ErrorSystem, "%s: %s", text, reason) || db.keepReason(reason);
}

/// Whether a descriptor is open and can do what `use` says.
bool isOpenFor(ZDB& db, int fd, int wrongMode, const char* use) {
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags >= 0 && (flags & O_ACCMODE) != wrongMode) return true;
  if (flags >= 0) errno = EBADF;
  return failSystem(db, "Descriptor %d is not open for %s", fd, use);
}

/// A file without a name, in memory.
bool makeMemoryFile(ZDB& db, Descriptor& file) {
  file = contract::makeMemoryFile("zxf");
  return file.valid() || failSystem(db, "Cannot make a file in memory");
}

/// Keeps the signal of a pipe that nobody reads, which would end the process, from this thread.
class PipeSignalHeldBack {
 public:
  PipeSignalHeldBack() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    wasPending_ = isPending();
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  PipeSignalHeldBack(const PipeSignalHeldBack&) = delete;
  PipeSignalHeldBack& operator=(const PipeSignalHeldBack&) = delete;
  ~PipeSignalHeldBack() {
    const int error = errno;
    constexpr timespec noTime{};
    if (!wasPending_ && isPending()) sigtimedwait(&pipe_, nullptr, &noTime);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = error;
  }

 private:
  static bool isPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t pipe_;
  sigset_t before_;
  bool wasPending_;
};

/// False, with errno set, if not all could be written.
bool writeAll(int fd, const char* bytes, std::size_t count) {
  const PipeSignalHeldBack heldBack;
  return contract::writeAll(fd, {bytes, count});
}

/// False, with errno set, if there are fewer bytes. Also for files that others may shorten.
bool readAll(int fd, off_t place, char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t got = contract::uninterrupted([&] { return ::pread(fd, bytes, count, place); });
    if (got == 0) errno = EIO;
    if (got <= 0) return false;
    bytes += got;
    place += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

/// Lets the database read from a file that it keeps open.
bool initFrom(ZDB& db, Descriptor file) {
  if (!db.InitFromZXF(pathOf(file))) return false;
  static_cast<ZXFSource*>(db.source(FROM_ZXF))->hold(std::move(file));
  return true;
}

/// Writes the database to a new file in memory.
bool writeInMemory(ZDB& db, int noDomainCheck, Descriptor& file, std::size_t& size) {
  if (!makeMemoryFile(db, file) || !db.WriteZXF(pathOf(file), noDomainCheck)) return false;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return failSystem(db, "Cannot read the file in memory");
  size = static_cast<std::size_t>(status.st_size);
  return true;
}

/// Whether the database still reads from the file of a descriptor.
bool isOwnSource(ZDB& db, int fd) {
  if (db.GetInitFrom() != FROM_ZXF) return false;
  const std::string& name = static_cast<ZXFSource*>(db.source(FROM_ZXF))->fileName();
  struct stat source {};
  struct stat target {};
  return ::stat(name.c_str(), &source) == 0 && ::fstat(fd, &target) == 0 &&
         source.st_dev == target.st_dev && source.st_ino == target.st_ino;
}

bool copyTo(ZDB& db, const Descriptor& file, std::size_t size, int fd) {
  constexpr std::size_t kAtOnce = std::size_t{1} << 18;
  std::vector<char> part(std::min(size, kAtOnce));
  for (std::size_t done = 0; done < size;) {
    const std::size_t count = std::min(size - done, part.size());
    if (!readAll(file.get(), static_cast<off_t>(done), part.data(), count)) {
      return failSystem(db, "Cannot read the file in memory");
    }
    if (!writeAll(fd, part.data(), count)) {
      return failSystem(db, "Cannot write to descriptor %d", fd);
    }
    done += count;
  }
  return true;
}

}  // namespace

bool initFromDescriptor(ZDB& db, int fd) {
  if (!isOpenFor(db, fd, O_WRONLY, "reading")) return false;
  Descriptor own(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
  if (own.get() < 0) return failSystem(db, "Cannot duplicate descriptor %d", fd);
  return initFrom(db, std::move(own));
}

bool initFromMemory(ZDB& db, const void* bytes, std::size_t count) {
  Descriptor file;
  if (!makeMemoryFile(db, file)) return false;
  if (!writeAll(file.get(), static_cast<const char*>(bytes), count)) {
    return failSystem(db, "Cannot make a file in memory");
  }
  return initFrom(db, std::move(file));
}

bool writeToDescriptor(ZDB& db, int fd, int noDomainCheck) {
  Descriptor file;
  std::size_t size = 0;
  if (!isOpenFor(db, fd, O_RDONLY, "writing")) return false;
  if (isOwnSource(db, fd)) db.CloseZXF(true);
  return writeInMemory(db, noDomainCheck, file, size) && copyTo(db, file, size, fd);
}

bool writeToMemory(ZDB& db, int noDomainCheck, FunctionRef<void*(std::size_t)> take) {
  Descriptor file;
  std::size_t size = 0;
  if (!writeInMemory(db, noDomainCheck, file, size)) return false;
  return readAll(file.get(), 0, static_cast<char*>(take(size)), size) ||
         failSystem(db, "Cannot read the file in memory");
}

}  // namespace zdb
