#include "bytesource.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "contract/descriptor.h"
#include "exitcode.h"

namespace zdb::tool {

namespace {

constexpr std::size_t kPackedPiece = std::size_t{1} << 17;
constexpr int kGzipOnly = 16;  ///< added to the size of zlib's window
constexpr std::string_view kGzipMagic = "\x1f\x8b";

/// Bytes that are not gzip's.
class PackedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace

/// zlib's state. A file may be several that gzip packed, one after the other.
class ByteSource::Unpacker {
 public:
  Unpacker() : packed_(kPackedPiece) {
    if (inflateInit2(&stream_, MAX_WBITS + kGzipOnly) != Z_OK) throw std::bad_alloc();
  }
  ~Unpacker() { inflateEnd(&stream_); }
  Unpacker(const Unpacker&) = delete;
  Unpacker& operator=(const Unpacker&) = delete;

  /// Unpacks up to `size` bytes, with more packed bytes from `more(bytes, size)`; 0 at the end.
  /// Throws PackedError.
  template <typename More>
  std::size_t unpack(char* bytes, std::size_t size, More more) {
    stream_.next_out = reinterpret_cast<Bytef*>(bytes);
    stream_.avail_out = static_cast<uInt>(size);
    while (stream_.avail_out == size) {
      if (stream_.avail_in == 0 && !refill(more)) break;
      if (isBetween_ && inflateReset(&stream_) != Z_OK) throw PackedError("zlib fails");
      isBetween_ = false;
      const int result = inflate(&stream_, Z_NO_FLUSH);
      if (result == Z_STREAM_END) {
        isBetween_ = true;
      } else if (result != Z_OK && result != Z_BUF_ERROR) {
        throw PackedError(stream_.msg == nullptr ? "it is damaged" : stream_.msg);
      }
    }
    return size - stream_.avail_out;
  }

 private:
  template <typename More>
  bool refill(More more) {
    const std::size_t count = more(packed_.data(), packed_.size());
    stream_.next_in = reinterpret_cast<Bytef*>(packed_.data());
    stream_.avail_in = static_cast<uInt>(count);
    if (count == 0 && !isBetween_) throw PackedError("it ends too early");
    return count > 0;
  }

  z_stream stream_{};
  std::vector<char> packed_;
  bool isBetween_ = false;  ///< one packed file has ended; another may follow
};

ByteSource::ByteSource(const std::string& file) : name_(file == "-" ? "standard input" : file) {
  descriptor_ = file == "-" ? dup(STDIN_FILENO) : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) throw InputError(problem(std::strerror(errno)));
  std::string begin(kGzipMagic.size(), '\0');
  std::size_t count = 0;
  std::size_t got = 0;
  do {
    got = readFile(begin.data() + count, begin.size() - count);
    count += got;
  } while (got > 0 && count < begin.size());
  begin_ = begin.substr(0, count);
  if (begin_ == kGzipMagic) unpacker_ = std::make_unique<Unpacker>();
}

ByteSource::~ByteSource() {
  if (descriptor_ >= 0) close(descriptor_);
}

std::size_t ByteSource::read(char* bytes, std::size_t size) {
  if (unpacker_ == nullptr) return readOn(bytes, size);
  try {
    return unpacker_->unpack(bytes, size,
                             [&](char* packed, std::size_t room) { return readOn(packed, room); });
  } catch (const PackedError& failure) {
    throw ToolError(problem(std::string("cannot unpack it: ") + failure.what()));
  }
}

std::size_t ByteSource::readOn(char* bytes, std::size_t size) {
  if (begin_.empty()) return readFile(bytes, size);
  const std::size_t count = std::min(size, begin_.size());
  std::copy_n(begin_.data(), count, bytes);
  begin_.erase(0, count);
  return count;
}

std::size_t ByteSource::readFile(char* bytes, std::size_t size) {
  const ssize_t count = contract::uninterrupted([&] { return ::read(descriptor_, bytes, size); });
  if (count < 0)
    throw InputError(problem(errno == EISDIR ? "it is a folder" : std::strerror(errno)));
  done_ += static_cast<std::uint64_t>(count);
  return static_cast<std::size_t>(count);
}

std::string ByteSource::problem(const std::string& reason) const {
  return "cannot read " + name_ + ": " + reason;
}

}  // namespace zdb::tool
