#pragma once

#include <functional>
#include <string>

#include "kit/modelfile.h"

namespace zkitfile {

// The way back from a process that works for another: one reply, then it ends.
class Reply {
 public:
  explicit Reply(int descriptor) : descriptor_(descriptor) {}

  // Sends the result, or the text of a failure, and ends the process, so that it may be called from
  // any depth of a library that cannot be left otherwise.
  [[noreturn]] void succeed(const std::string& result) const;
  [[noreturn]] void fail(const std::string& text) const;

 private:
  [[noreturn]] void end(char kind, const std::string& text) const;

  int descriptor_;
};

// Runs `work` in a process of its own, a copy of this one, and gives the result that it sends. So
// the work may crash, exhaust its stack, never end or lose memory, and nothing of the caller's
// changes. Its standard streams lead nowhere. Throws FileError with the text that the work sends,
// or a Complaint that says how it ended. The process has only the calling thread's copy; `work`
// must not need a lock that another thread of the caller could hold, the C library's allocator and
// streams excepted.
std::string runApart(const std::function<void(const Reply&)>& work, const FileLimits& limits);

// A file that has no name, in memory. Its path is good in this process and in those that it starts.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& content);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace zkitfile
