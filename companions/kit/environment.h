// What a solve gets beside the model: where the system is, where the log goes, when to stop.
#pragma once

#include <atomic>
#include <string>

namespace zdb::kit {

/// What a solve must respect; 0 or less is none.
struct Limits {
  double seconds = 0.0;
  int iterations = 0;
};

/// Of the library or program that holds this code, absolute; ends in '/'.
const std::string& ownDirectory();

class Environment {
 public:
  using LogCallback = void (*)(const char* text, void* user);

  /// Null: with the directory of this library. Throws a KitError if the name is too long for the
  /// buffers that it is read into.
  explicit Environment(const char* systemDirectory = nullptr);

  /// Ends in '/'.
  const std::string& systemDirectory() const { return systemDirectory_; }
  void setLog(LogCallback callback, void* user) {
    log_ = callback;
    user_ = user;
  }
  void log(const char* text) const {
    if (log_ != nullptr) log_(text, user_);
  }

  /// Set from any thread or a signal handler while a solve looks at it.
  std::atomic<bool> terminate{false};
  Limits limits;

 private:
  std::string systemDirectory_;
  LogCallback log_ = nullptr;
  void* user_ = nullptr;
};

}  // namespace zdb::kit
