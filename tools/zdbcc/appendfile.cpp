#include "appendfile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "exitcode.h"

namespace zdb::tool {

namespace {

constexpr mode_t kUsualMode = 0666;  // without what umask takes away

bool isRegular(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

AppendFile::AppendFile(const std::string& name, std::uint64_t size)
    : name_(name),
      descriptor_(open(name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kUsualMode)) {
  if (descriptor_ < 0) fail(errno);
  try {
    if (isRegular(descriptor_)) keep(size);
  } catch (...) {
    close(descriptor_);
    throw;
  }
}

AppendFile::~AppendFile() {
  close(descriptor_);
}

void AppendFile::keep(std::uint64_t size) {
  if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw OutputError("another program is writing " + name_);
  }
  if (ftruncate(descriptor_, static_cast<off_t>(size)) != 0) fail(errno);
  size_ = size;
}

void AppendFile::write(std::string_view text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(descriptor_, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      const int reason = errno;
      // Cannot be answered: what is left is noticed as torn when it is read again.
      [[maybe_unused]] const int cut = ftruncate(descriptor_, static_cast<off_t>(size_));
      if (reason == EPIPE) throw ClosedPipeError();
      fail(reason);
    }
    done += static_cast<std::size_t>(count);
  }
  size_ += text.size();
}

void AppendFile::fail(int reason) const {
  throw OutputError("cannot write " + name_ + ": " + std::strerror(reason));
}

}  // namespace zdb::tool
