// The message buffer that a caller of a loader operation passes.
#pragma once

namespace zdb::loaders {

/// Size of the text buffers that a companion library writes into.
inline constexpr int kTextSize = 256;

class Message {
 public:
  /// The caller owns the buffer. If it is null or its size is less than 1, texts are discarded.
  Message(char* buffer, int size) : buffer_(buffer), size_(buffer == nullptr ? 0 : size) {}

  void clear() const {
    if (size_ > 0) *buffer_ = '\0';
  }

  /// Replaces the text, cut to size - 1 characters. Allocates nothing, so it works when memory
  /// is exhausted.
  [[gnu::format(printf, 2, 3)]] void format(const char* pattern, ...) const;

 private:
  char* buffer_;
  int size_;
};

}  // namespace zdb::loaders
