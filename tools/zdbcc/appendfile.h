#pragma once

#include <cstdint>
#include <string>

#include "contract/descriptor.h"
#include "output.h"

namespace zdb::tool {

/// A file that grows by whole pieces: if a piece cannot be written, the file is as it was before
/// it. Only the end of the program in the middle of a piece leaves a part of it.
class AppendFile : public Output {
 public:
  /// Makes the file, or keeps the first `size` bytes of one that is there. Throws OutputError, also
  /// if another program is appending to it.
  explicit AppendFile(const std::string& name, std::uint64_t size = 0);

  void write(std::string_view text) override;

 private:
  void keep(std::uint64_t size);
  [[noreturn]] void fail(int reason) const;

  std::string name_;
  zdb::contract::Descriptor descriptor_;
  std::uint64_t size_ = 0;
};

/// Throws OutputError if a file cannot be appended to; to be called before another output changes.
/// A file that is there stays as it is, and one that is not is not made.
void requireAppendable(const std::string& name);

}  // namespace zdb::tool
