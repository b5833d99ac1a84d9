#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "contract/descriptor.h"

namespace zdb::tool {

/// A file without a name, in the folder that TMPDIR names or in /tmp, which goes with its owner.
/// Functions throw ToolError.
class TemporaryFile {
 public:
  TemporaryFile();

  void append(std::span<const std::byte> bytes);
  /// Fills `to`. REQUIRES place + to.size() <= size().
  void read(std::uint64_t place, std::span<std::byte> to) const;
  std::uint64_t size() const { return size_; }

 private:
  std::string folder_;
  zdb::contract::Descriptor file_;
  std::uint64_t size_ = 0;
};

}  // namespace zdb::tool
