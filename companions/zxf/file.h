// Files: reading by position, and writing that replaces the target atomically.
#pragma once

#include <cstdint>
#include <string>

#include "zxf/bytes.h"

namespace zdb::zxfile {

/// Owns a file descriptor.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }

 private:
  int fd_;
};

/// A regular file that is read by position. It is not mapped: if another process shortened a mapped
/// file, this one would get a signal instead of an error.
class InputFile {
 public:
  /// Fails with CannotOpenFile or NotRegularFile; never waits for the other end of a pipe.
  explicit InputFile(const char* path);

  /// Bytes at the time of opening.
  std::uint64_t size() const { return size_; }

  /// Fills `to` from `offset`. Fails with ReadFailed, or TruncatedFile if the file ends too soon.
  void read(std::uint64_t offset, std::span<std::uint8_t> to) const;

 private:
  Descriptor file_;
  std::uint64_t size_ = 0;
};

/// A new file that is invisible until publish() replaces the target by it atomically.
///
/// It has no name if the system supports such files, otherwise a unique one beginning with '.' in
/// the target's folder: a writer that is killed leaves nothing, or nothing that could collide with
/// a later one. The folder is kept open, so that the working directory may change. An existing
/// target keeps its permission bits and, if permitted, its owner; a symbolic link is followed.
class OutputFile {
 public:
  enum class Naming { UnnamedIfPossible, Named };

  /// Fails with CannotOpenFile (an existing target is not writable), NotRegularFile or
  /// CannotCreateFile. Named behaves as on systems without nameless files.
  explicit OutputFile(const char* path, Naming naming = Naming::UnnamedIfPossible);
  /// Removes the file if it was not published.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Bytes appended so far.
  std::uint64_t size() const { return written_ + buffer_.size(); }

  /// Appends through a buffer. Fails with NoSpace or WriteFailed.
  void append(ByteSpan bytes);

  /// Replaces bytes at the start of the file. REQUIRES: bytes.size() <= size().
  void rewriteStart(ByteSpan bytes);

  /// Flushes the file to disk, gives it the target's name and flushes the folder. Fails with
  /// NoSpace, WriteFailed or CannotReplaceFile; the target is then unchanged.
  void publish();

 private:
  OutputFile() = default;
  void openFolder(const std::string& path);
  void createFile(Naming naming);
  bool createNamed();
  void keepMode();
  void flush();
  void writeAt(ByteSpan bytes, std::uint64_t offset);
  void giveName();

  Descriptor folder_;
  Descriptor file_;
  std::string targetName_;     ///< within the folder
  std::string temporaryName_;  ///< within the folder; empty while the file has no name
  bool replacing_ = false;     ///< a target existed when the file was opened
  unsigned targetMode_ = 0;
  unsigned targetOwner_ = 0;
  unsigned targetGroup_ = 0;
  std::uint64_t written_ = 0;
  Bytes buffer_;
};

}  // namespace zdb::zxfile
