#pragma once

#include <string>

namespace zdb {

namespace loaders {
struct zxfRec;
}

/// Owns an object of the data exchange file companion. If it is freed while a file is being
/// written, an older file of that name stays as it was.
class ZXFHandle {
 public:
  /// The companion is loaded from `directory`, or by the default search if that is empty. If that
  /// fails, there is no object, and message() says why.
  explicit ZXFHandle(const std::string& directory);
  ZXFHandle(const ZXFHandle&) = delete;
  ZXFHandle& operator=(const ZXFHandle&) = delete;
  ~ZXFHandle();

  /// Null if the companion could not be loaded.
  loaders::zxfRec* get() const { return zxf_; }
  /// The reason if there is no object.
  const char* message() const { return message_; }

 private:
  loaders::zxfRec* zxf_ = nullptr;
  char message_[228] = "";
};

}  // namespace zdb
