#pragma once

#include <string>

namespace zdb {

namespace loaders {
struct zxfRec;
}

/// An object of the data exchange file companion, freed with this one. Freeing it while a file is
/// being written leaves an older file of that name as it was.
class ZXFHandle {
 public:
  /// The companion is loaded from `directory`, or found by the default search if that is empty.
  /// When it cannot be had, there is no object and a message.
  explicit ZXFHandle(const std::string& directory);
  ZXFHandle(const ZXFHandle&) = delete;
  ZXFHandle& operator=(const ZXFHandle&) = delete;
  ~ZXFHandle();

  /// Null when the companion could not be had.
  loaders::zxfRec* get() const { return zxf_; }
  /// Why there is no object.
  const char* message() const { return message_; }

 private:
  loaders::zxfRec* zxf_ = nullptr;
  char message_[228] = "";
};

}  // namespace zdb
