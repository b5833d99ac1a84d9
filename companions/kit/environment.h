// What a solve gets in addition to the model: the system directory, the log, and when to stop.
#pragma once

#include <atomic>
#include <string>

namespace zdb::kit {

/// Limits of a solve; 0 or less means no limit. A search for integer levels may end when either gap
/// is reached; 0 means that the best levels are proven to be the best.
struct Limits {
  double seconds = 0.0;
  int iterations = 0;
  double relativeGap = 0.0;
  double absoluteGap = 0.0;
};

/// The absolute directory of the library or program that contains this code; ends in '/'.
const std::string& ownDirectory();

/// The path of a file that belongs beside the kit's library, or "" if it is not there. Beside a
/// program that the kit is linked into, it may be in the folder of the libraries next to that of
/// the program.
std::string besideKit(const std::string& file);

/// Why a function for configurations failed last in this thread, whose results do not say it: cut
/// to the size of a message, "" if none has failed.
void noteFailure(const char* why) noexcept;
const char* lastFailure() noexcept;

/// Where lines of a log go: a function of the host, or nowhere. Copies go to the same place.
class Log {
 public:
  using Callback = void (*)(const char* text, void* user);

  Log() = default;
  Log(Callback callback, void* user) : callback_(callback), user_(user) {}
  bool isOn() const { return callback_ != nullptr; }
  /// Throws what the host's function throws.
  void line(const char* text) const {
    if (callback_ != nullptr) callback_(text, user_);
  }
  /// The same for callers that can do nothing about that.
  void lineFromSolver(const char* text) const noexcept {
    try {
      line(text);
    } catch (...) {  // NOLINT(bugprone-empty-catch): a log must not end a solve
    }
  }

 private:
  Callback callback_ = nullptr;
  void* user_ = nullptr;
};

class Environment {
 public:
  /// A null directory means that of this library. Throws a KitError if the name is too long for the
  /// buffers of zrtGetStrOpt.
  explicit Environment(const char* systemDirectory = nullptr);

  /// Ends in '/'.
  const std::string& systemDirectory() const { return systemDirectory_; }
  void setLog(Log::Callback callback, void* user) { log_ = Log(callback, user); }
  void log(const char* text) const { log_.line(text); }
  const Log& logTarget() const { return log_; }

  /// Set by any thread or a signal handler; a running solve polls it.
  std::atomic<bool> terminate{false};
  Limits limits;

 private:
  std::string systemDirectory_;
  Log log_;
};

}  // namespace zdb::kit
