#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace zdb::tool {

/// The bytes of a file, or of standard input for "-". What gzip packed, which its first bytes show,
/// is unpacked. Functions throw ToolError with the name.
class ByteSource {
 public:
  explicit ByteSource(const std::string& file);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  /// For messages.
  const std::string& name() const { return name_; }
  /// Reads up to `size` bytes, at least one; 0 at the end.
  std::size_t read(char* bytes, std::size_t size);
  /// How much of the file itself has been read.
  std::uint64_t done() const { return done_; }

 private:
  class Unpacker;

  std::size_t readFile(char* bytes, std::size_t size);
  /// The same after the bytes that were looked at.
  std::size_t readOn(char* bytes, std::size_t size);
  std::string problem(const std::string& reason) const;

  std::string name_;
  int descriptor_ = -1;
  std::uint64_t done_ = 0;
  std::string begin_;  ///< bytes that were looked at and are still to be delivered
  std::unique_ptr<Unpacker> unpacker_;
};

}  // namespace zdb::tool
