#pragma once

#include "core/lasterror.h"

namespace zdb {

/// Receives the log lines of a database as short strings, with the caller's user pointer.
struct LogCallback {
  int (*print)(const char* text, void* user) = nullptr;
  void* user = nullptr;
};

/// Where the log lines of a database go: to the host if it has set a callback, else to standard
/// output.
class Log {
 public:
  void setCallback(LogCallback callback) { callback_ = callback; }
  void print(const char* text) const;
  /// Tells the reason of an error, whose text does not say it, to the host, if it has set a
  /// callback, and to the trace, if that is on.
  void report(const LastError& error, bool isTraced) const;

 private:
  void toHost(const char* text) const;

  LogCallback callback_;
};

/// Writes a trace line to standard output and flushes it; each level beyond 1 is indented by two
/// blanks. The caller tests ZDB::debugLevel.
void debug_out(const char* text, int depth);

}  // namespace zdb
