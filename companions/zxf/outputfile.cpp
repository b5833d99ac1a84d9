#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
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
constexpr std::string_view kTemporaryEnding = ".zxf.tmp";
constexpr std::size_t kNumberLength = 16;  // of the number before it

bool isFull() {
  return errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
}

[[noreturn]] void failWriting() {
  fail(isFull() ? Errc::NoSpace : Errc::WriteFailed, std::strerror(errno));
}

// A target that is a link stands for what it points to, which need not exist yet.
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
  // Names have at most 255 bytes; the start is enough to tell whose temporary file it is.
  return printed(".%.200s.%016llx%s", targetName.c_str(), static_cast<unsigned long long>(number),
                 kTemporaryEnding.data());
}

bool isTemporaryName(std::string_view name) {
  if (!name.starts_with('.') || !name.ends_with(kTemporaryEnding)) return false;
  name.remove_suffix(kTemporaryEnding.size());
  const std::size_t dot = name.rfind('.');
  return dot > 0 && name.size() - dot - 1 == kNumberLength &&
         name.find_first_not_of("0123456789abcdef", dot + 1) == name.npos;
}

int openIn(int folder, const char* path, int flags, mode_t mode = 0) noexcept {
  return uninterrupted([=] { return ::openat(folder, path, flags | O_CLOEXEC, mode); });
}

// A file of this user that no writer holds: each locks its own as long as it has a name.
bool isLeftOver(int folder, const char* name) noexcept {
  struct stat status;
  if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return false;
  const Descriptor file(openIn(folder, name, O_WRONLY | O_NOFOLLOW | O_NONBLOCK));
  return file.valid() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

// Removes what killed writers have left in a folder, as far as that is possible.
void removeLeftOvers(int folder) noexcept {
  const int copy = openIn(folder, ".", O_RDONLY | O_DIRECTORY);
  DIR* names = copy < 0 ? nullptr : ::fdopendir(copy);
  if (names == nullptr) {
    if (copy >= 0) ::close(copy);
    return;
  }
  while (const dirent* entry = ::readdir(names)) {
    if (isTemporaryName(entry->d_name) && isLeftOver(folder, entry->d_name))
      ::unlinkat(folder, entry->d_name, 0);
  }
  ::closedir(names);
}

int sync(const Descriptor& file) {
  return uninterrupted([&] { return ::fsync(file.get()); });
}

std::string selfPath(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace

// Once the delegated constructor is through, a failure of the rest runs the destructor.
OutputFile::OutputFile(const char* path) : OutputFile() {
  buffer_.reserve(kBufferSize);
  if (openNameless(path)) return;
  const std::string target = followed(path);
  openFolder(target);
  removeLeftOvers(folder_.get());
  createFile();
  keepMode();
}

OutputFile::~OutputFile() {
  if (!temporaryName_.empty()) ::unlinkat(folder_.get(), temporaryName_.c_str(), 0);
}

bool OutputFile::openNameless(const char* path) {
  constexpr std::string_view kDescriptors = "/proc/self/fd/";
  struct stat status;
  if (!std::string_view(path).starts_with(kDescriptors) || ::stat(path, &status) != 0 ||
      !S_ISREG(status.st_mode) || status.st_nlink > 0) {
    return false;
  }
  file_ = Descriptor(openIn(AT_FDCWD, path, O_WRONLY | O_TRUNC));
  if (!file_.valid()) fail(Errc::CannotOpenFile, printed("%.100s: %s", path, std::strerror(errno)));
  return true;
}

void OutputFile::openFolder(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == path.npos ? "." : path.substr(0, slash + 1);
  targetName_ = slash == path.npos ? path : path.substr(slash + 1);
  if (targetName_.empty())
    fail(Errc::CannotOpenFile, printed("%.100s: no file name", path.c_str()));
  folder_ = Descriptor(openIn(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY));
  // A folder that may be entered and changed but not listed.
  if (!folder_.valid())
    folder_ = Descriptor(openIn(AT_FDCWD, folder.c_str(), O_PATH | O_DIRECTORY));
  if (!folder_.valid()) {
    fail(Errc::CannotCreateFile, printed("%.100s: %s", folder.c_str(), std::strerror(errno)));
  }
  struct stat status;
  replacing_ = ::fstatat(folder_.get(), targetName_.c_str(), &status, 0) == 0;
  if (!replacing_) {
    // Too long a name is left to publish(), as a folder's own limit may be.
    if (errno == ENOENT || errno == ENAMETOOLONG) return;
    fail(Errc::CannotOpenFile, printed("%.100s: %s", path.c_str(), std::strerror(errno)));
  }
  if (!S_ISREG(status.st_mode)) fail(Errc::NotRegularFile, printed("%.100s", path.c_str()));
  if (::faccessat(folder_.get(), targetName_.c_str(), W_OK, AT_EACCESS) != 0) {
    fail(Errc::CannotOpenFile, printed("%.100s: %s", path.c_str(), std::strerror(errno)));
  }
  targetMode_ = status.st_mode & 07777;
  targetOwner_ = status.st_uid;
  targetGroup_ = status.st_gid;
}

// An unnamed file, where the system makes any, can only get its name through /proc.
void OutputFile::createFile() {
  if (::access("/proc/self/fd", X_OK) == 0) {
    file_ = Descriptor(openIn(folder_.get(), ".", O_TMPFILE | O_WRONLY, 0666));
    if (file_.valid()) {
      lock();
      return;
    }
  }
  for (int i = 0; i < kNameTries; ++i) {
    if (createNamed()) return;
    if (errno != EEXIST) break;
  }
  fail(Errc::CannotCreateFile, printed("%.100s: %s", targetName_.c_str(), std::strerror(errno)));
}

bool OutputFile::createNamed() {
  std::string name = uniqueName(targetName_);
  // Until it has the bits of its target, nobody else may open it.
  const mode_t mode = replacing_ ? 0600 : 0666;
  file_ = Descriptor(openIn(folder_.get(), name.c_str(), O_CREAT | O_EXCL | O_WRONLY, mode));
  if (!file_.valid()) return false;
  temporaryName_ = std::move(name);
  if (lock()) return true;
  ::unlinkat(folder_.get(), temporaryName_.c_str(), 0);
  temporaryName_.clear();
  errno = EEXIST;
  return false;
}

// Tells other writers that the file is not a left-over. Where a file system has no locks, nobody
// can lock and nothing is removed. False for a file that another writer took for one before.
bool OutputFile::lock() const {
  if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
  struct stat status;
  return ::fstat(file_.get(), &status) != 0 || status.st_nlink > 0;
}

void OutputFile::keepMode() {
  if (!replacing_) return;
  // Only the superuser may give files away; others keep at least the bits. The owner comes first
  // because a change of it clears bits.
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
    const ssize_t put = uninterrupted([&] {
      return ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    });
    if (put < 0) failWriting();
    bytes = bytes.subspan(static_cast<std::size_t>(put));
    offset += static_cast<std::uint64_t>(put);
  }
}

bool OutputFile::link(const std::string& name) const {
  return ::linkat(AT_FDCWD, selfPath(file_.get()).c_str(), folder_.get(), name.c_str(),
                  AT_SYMLINK_FOLLOW) == 0;
}

void OutputFile::giveName() {
  for (int i = 0; temporaryName_.empty() && i < kNameTries; ++i) {
    std::string name = uniqueName(targetName_);
    if (link(name)) {
      temporaryName_ = std::move(name);  // cannot fail, or the file would be left over
    } else if (errno != EEXIST) {
      break;
    }
  }
  if (temporaryName_.empty()) fail(Errc::CannotReplaceFile, std::strerror(errno));
}

void OutputFile::replaceTarget() {
  giveName();
  if (::renameat(folder_.get(), temporaryName_.c_str(), folder_.get(), targetName_.c_str()) != 0) {
    fail(Errc::CannotReplaceFile, std::strerror(errno));
  }
  temporaryName_.clear();
}

void OutputFile::publish() {
  flush();
  if (!folder_.valid()) return;  // a file without a name
  if (sync(file_) != 0) failWriting();
  // Where there is nothing to replace, no temporary name comes between, with which a writer could
  // be killed.
  const bool isDone = !replacing_ && temporaryName_.empty() && link(targetName_);
  if (!isDone) replaceTarget();
  // Some file systems cannot sync a folder; the file itself is safe by then.
  if (sync(folder_) != 0 && (errno == EIO || isFull())) {
    fail(Errc::Unexpected,
         "the new file is in place but its folder could not be brought to the disk");
  }
}

}  // namespace zdb::zxfile
