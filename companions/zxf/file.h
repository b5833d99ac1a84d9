// Files: positioned reading, and writing that takes the target's place in one step.
#pragma once

#include <cstdint>
#include <string>

#include "contract/descriptor.h"
#include "zxf/bytes.h"

namespace zdb::zxfile {

using contract::Descriptor;
using contract::uninterrupted;

/// A regular file that is read by position. Not mapped: a mapped file that another process shortens
/// would end this one with a signal instead of an error.
class InputFile {
 public:
  /// Fails with CannotOpenFile or NotRegularFile; never waits for a pipe's other end.
  explicit InputFile(const char* path);

  /// Bytes at the time of opening.
  std::uint64_t size() const { return size_; }

  /// Fills `to` from `offset`. Fails with TruncatedFile when the file ends before, or ReadFailed.
  void read(std::uint64_t offset, std::span<std::uint8_t> to) const;

 private:
  Descriptor file_;
  std::uint64_t size_ = 0;
};

/// A new file that nobody sees until publish(), when it replaces its target in one step.
///
/// It has no name where the system can make such files, and else a unique one beginning with '.' in
/// the target's folder. A writer that is killed leaves nothing, except that it may be killed while
/// its file has such a name. As long as it lives, it holds a lock on the file; the next writer in
/// the folder removes those of its user that nobody holds, for which it lists the folder (0.3 us a
/// name). The folder is held open, so a change of the working directory does no harm. An existing
/// target keeps its permission bits and, where that is allowed, its owner; a symbolic
/// link is followed.
///
/// A target that is a file without a name, given as /proc/self/fd/ and the number of a descriptor,
/// such as one in memory, is written in place: its first owner decides what becomes of it.
class OutputFile {
 public:
  /// Fails with CannotOpenFile (an existing target may not be written),
  /// NotRegularFile or CannotCreateFile.
  explicit OutputFile(const char* path);
  /// Removes what was not published.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Bytes appended so far.
  std::uint64_t size() const { return written_ + buffer_.size(); }

  /// Appends through a buffer. Fails with NoSpace or WriteFailed.
  void append(ByteSpan bytes);

  /// Replaces bytes at the start of the file, which must have been appended before.
  void rewriteStart(ByteSpan bytes);

  /// Brings everything to the disk, gives the file its target's name and brings the folder to the
  /// disk. Fails with NoSpace, WriteFailed or CannotReplaceFile; then the target is as it was.
  void publish();

 private:
  OutputFile() = default;
  bool openNameless(const char* path);
  void openFolder(const std::string& path);
  void createFile();
  bool createNamed();
  void keepMode();
  void flush();
  void writeAt(ByteSpan bytes, std::uint64_t offset);
  bool lock() const;
  bool link(const std::string& name) const;
  void giveName();
  void replaceTarget();

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
