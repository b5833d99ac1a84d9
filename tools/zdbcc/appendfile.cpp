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
  if (!descriptor_.valid()) fail(errno);
  if (isRegular(descriptor_.get())) keep(size);
}

void AppendFile::keep(std::uint64_t size) {
  if (flock(descriptor_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw OutputError("another program is writing " + name_);
  }
  if (ftruncate(descriptor_.get(), static_cast<off_t>(size)) != 0) fail(errno);
  size_ = size;
}

void AppendFile::write(std::string_view text) {
  if (!zdb::contract::writeAll(descriptor_.get(), text)) {
    const int reason = errno;
    // Cannot be answered: what is left is noticed as torn when it is read again.
    [[maybe_unused]] const int cut = ftruncate(descriptor_.get(), static_cast<off_t>(size_));
    if (reason == EPIPE) throw ClosedPipeError();
    fail(reason);
  }
  size_ += text.size();
}

void AppendFile::fail(int reason) const {
  throw OutputError("cannot write " + name_ + ": " + std::strerror(reason));
}

}  // namespace zdb::tool
