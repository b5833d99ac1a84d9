#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <utility>

#include "zxf/file.h"

namespace zdb::zxfile {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 18;
constexpr int kNameTries = 100;
constexpr int kMaxLinks = 40;  // as many as the system itself follows

[[noreturn]] void failWriting() {
  const bool full = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
  fail(full ? Errc::NoSpace : Errc::WriteFailed, std::strerror(errno));
}

// If the target is a link, the file it points to is replaced; that need not exist yet.
std::string followed(const char* path) {
  std::filesystem::path target = path;
  std::error_code error;
  for (int i = 0; i < kMaxLinks; ++i) {
    const std::filesystem::path link = std::filesystem::read_symlink(target, error);
    if (error) break;
    target = target.parent_path() / link;  // an absolute link replaces the whole path
  }
  return target.string();
}

std::string uniqueName(const std::string& targetName) {
  std::uint64_t number = 0;
  if (::getrandom(&number, sizeof number, GRND_NONBLOCK) < 0) {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    number = static_cast<std::uint64_t>(now.tv_nsec) ^
             (std::uint64_t{static_cast<unsigned>(::getpid())} << 32);
  }
  // Names have at most 255 bytes; the first 200 are enough to recognise a temporary file.
  return printed(".%.200s.%016llx.tmp", targetName.c_str(),
                 static_cast<unsigned long long>(number));
}

std::string selfPath(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace

// Once the delegated constructor has returned, an exception in the rest runs the destructor.
OutputFile::OutputFile(const char* path, Naming naming) : OutputFile() {
  const std::string target = followed(path);
  openFolder(target);
  createFile(naming);
  keepMode();
  buffer_.reserve(kBufferSize);
}

OutputFile::~OutputFile() {
  if (!temporaryName_.empty()) ::unlinkat(folder_.get(), temporaryName_.c_str(), 0);
}

void OutputFile::openFolder(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == path.npos ? "." : path.substr(0, slash + 1);
  targetName_ = slash == path.npos ? path : path.substr(slash + 1);
  if (targetName_.empty())
    fail(Errc::CannotOpenFile, printed("%.100s: no file name", path.c_str()));
  folder_ = Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // For a folder that may be entered and changed but not listed.
  if (!folder_.valid())
    folder_ = Descriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder_.valid()) {
    fail(Errc::CannotCreateFile, printed("%.100s: %s", folder.c_str(), std::strerror(errno)));
  }
  struct stat status;
  replacing_ = ::fstatat(folder_.get(), targetName_.c_str(), &status, 0) == 0;
  if (!replacing_) return;
  if (!S_ISREG(status.st_mode)) fail(Errc::NotRegularFile, printed("%.100s", path.c_str()));
  if (::faccessat(folder_.get(), targetName_.c_str(), W_OK, AT_EACCESS) != 0) {
    fail(Errc::CannotOpenFile, printed("%.100s: %s", path.c_str(), std::strerror(errno)));
  }
  targetMode_ = status.st_mode & 07777;
  targetOwner_ = status.st_uid;
  targetGroup_ = status.st_gid;
}

// A file without a name can only be given one through /proc.
void OutputFile::createFile(Naming naming) {
  if (naming == Naming::UnnamedIfPossible && ::access("/proc/self/fd", X_OK) == 0) {
    file_ = Descriptor(::openat(folder_.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
    if (file_.valid()) return;
  }
  for (int i = 0; i < kNameTries; ++i) {
    if (createNamed()) return;
    if (errno != EEXIST) break;
  }
  fail(Errc::CannotCreateFile, printed("%.100s: %s", targetName_.c_str(), std::strerror(errno)));
}

bool OutputFile::createNamed() {
  std::string name = uniqueName(targetName_);
  // Until it has the permission bits of its target, nobody else may open it.
  const mode_t mode = replacing_ ? 0600 : 0666;
  file_ = Descriptor(
      ::openat(folder_.get(), name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, mode));
  if (file_.valid()) temporaryName_ = std::move(name);
  return file_.valid();
}

void OutputFile::keepMode() {
  if (!replacing_) return;
  // Only the superuser may change owners; for others, at least the bits are kept. The owner comes
  // first because changing it clears bits.
  if (::fchown(file_.get(), targetOwner_, targetGroup_) != 0 && errno != EPERM) failWriting();
  if (::fchmod(file_.get(), targetMode_) != 0) failWriting();
}

void OutputFile::append(ByteSpan bytes) {
  if (buffer_.size() + bytes.size() > kBufferSize) flush();
  if (bytes.size() > kBufferSize) {
    writeAt(bytes, written_);
    written_ += bytes.size();
  } else {
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  }
}

void OutputFile::flush() {
  writeAt(buffer_, written_);
  written_ += buffer_.size();
  buffer_.clear();
}

void OutputFile::rewriteStart(ByteSpan bytes) {
  flush();
  writeAt(bytes, 0);
}

void OutputFile::writeAt(ByteSpan bytes, std::uint64_t offset) {
  while (!bytes.empty()) {
    const ssize_t put =
        ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) failWriting();
    bytes = bytes.subspan(static_cast<std::size_t>(put));
    offset += static_cast<std::uint64_t>(put);
  }
}

void OutputFile::giveName() {
  for (int i = 0; temporaryName_.empty() && i < kNameTries; ++i) {
    std::string name = uniqueName(targetName_);
    if (::linkat(AT_FDCWD, selfPath(file_.get()).c_str(), folder_.get(), name.c_str(),
                 AT_SYMLINK_FOLLOW) == 0) {
      temporaryName_ = std::move(name);  // must not throw, or the file would be left over
    } else if (errno != EEXIST) {
      break;
    }
  }
  if (temporaryName_.empty()) fail(Errc::CannotReplaceFile, std::strerror(errno));
}

void OutputFile::publish() {
  flush();
  if (::fsync(file_.get()) != 0) failWriting();
  giveName();
  if (::renameat(folder_.get(), temporaryName_.c_str(), folder_.get(), targetName_.c_str()) != 0) {
    fail(Errc::CannotReplaceFile, std::strerror(errno));
  }
  temporaryName_.clear();
  // Some file systems cannot flush a folder; the file itself has been flushed.
  if (::fsync(folder_.get()) != 0 && errno == EIO) {
    fail(Errc::Unexpected, "the new file is in place but its folder could not be flushed to disk");
  }
}

}  // namespace zdb::zxfile
