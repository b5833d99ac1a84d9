// The message buffer that a caller of a loader operation passes.
#ifndef ZDB_LOADERS_MESSAGE_H
#define ZDB_LOADERS_MESSAGE_H

namespace zdb::loaders {

// Size of the text buffers that a companion library writes into.
inline constexpr int kTextSize = 256;

class Message {
 public:
  // The buffer is the caller's; null or a size below 1 swallows all texts.
  Message(char* buffer, int size) : buffer_(buffer), size_(buffer == nullptr ? 0 : size) {}

  void clear() const {
    if (size_ > 0) *buffer_ = '\0';
  }

  // Replaces the text, cut to size - 1 characters. Allocates nothing, so a failing load stays safe
  // when memory is short.
  [[gnu::format(printf, 2, 3)]] void format(const char* pattern, ...) const;

 private:
  char* buffer_;
  int size_;
};

}  // namespace zdb::loaders

#endif
