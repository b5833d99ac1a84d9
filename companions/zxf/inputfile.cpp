#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "zxf/file.h"

namespace zdb::zxfile {

// O_NONBLOCK keeps open() from waiting for the writer of a named pipe; it has no effect on regular
// files, and anything else is rejected.
InputFile::InputFile(const char* path)
    : file_(uninterrupted([&] { return ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK); })) {
  if (!file_.valid()) fail(Errc::CannotOpenFile, printed("%.100s: %s", path, std::strerror(errno)));
  struct stat status;
  if (::fstat(file_.get(), &status) != 0) {
    fail(Errc::CannotOpenFile, printed("%.100s: %s", path, std::strerror(errno)));
  }
  if (!S_ISREG(status.st_mode)) fail(Errc::NotRegularFile, printed("%.100s", path));
  size_ = static_cast<std::uint64_t>(status.st_size);
}

void InputFile::read(std::uint64_t offset, std::span<std::uint8_t> to) const {
  while (!to.empty()) {
    const ssize_t got = uninterrupted(
        [&] { return ::pread(file_.get(), to.data(), to.size(), static_cast<off_t>(offset)); });
    if (got < 0) fail(Errc::ReadFailed, std::strerror(errno));
    if (got == 0) {
      fail(Errc::TruncatedFile,
           printed("ends at byte %llu", static_cast<unsigned long long>(offset)));
    }
    to = to.subspan(static_cast<std::size_t>(got));
    offset += static_cast<std::uint64_t>(got);
  }
}

}  // namespace zdb::zxfile
