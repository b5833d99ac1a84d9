// File descriptors and the calls on them that go on after signals, for whoever works on files.
#pragma once

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace zdb::contract {

/// A file descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }

 private:
  int fd_;
};

/// Makes a system call again as long as a signal interrupts it.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// Writes all bytes, also to a descriptor that does not wait by itself. False, with errno set, if
/// that fails.
inline bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto put = uninterrupted([&] { return ::write(fd, bytes.data(), bytes.size()); });
    if (put >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(put));
    } else if (errno == EAGAIN) {
      pollfd ready{fd, POLLOUT, 0};
      ::poll(&ready, 1, -1);
    } else {
      return false;
    }
  }
  return true;
}

/// A new file in memory, without a name; not valid, with errno set, if there can be none. The
/// system shows it as `title`.
inline Descriptor makeMemoryFile(const char* title) {
  return Descriptor(::memfd_create(title, MFD_CLOEXEC));
}

}  // namespace zdb::contract
