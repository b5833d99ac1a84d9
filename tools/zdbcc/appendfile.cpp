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

[[noreturn]] void failWriting(const std::string& name, int reason) {
  throw OutputError("cannot write " + name + ": " + std::strerror(reason));
}

void lock(int descriptor, const std::string& name) {
  if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw OutputError("another program is writing " + name);
  }
}

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
  lock(descriptor_.get(), name_);
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
  failWriting(name_, reason);
}

void requireAppendable(const std::string& name) {
  constexpr int kAsLater = O_WRONLY | O_APPEND | O_CLOEXEC;
  struct stat status {};
  const bool isThere = stat(name.c_str(), &status) == 0;
  if (isThere && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return;  // as a pipe
  const int flags = isThere ? kAsLater : kAsLater | O_CREAT | O_EXCL;
  const zdb::contract::Descriptor descriptor(open(name.c_str(), flags, kUsualMode));
  if (!descriptor.valid()) failWriting(name, errno);
  isThere ? lock(descriptor.get(), name) : static_cast<void>(unlink(name.c_str()));
}

}  // namespace zdb::tool
