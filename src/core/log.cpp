#include "core/log.h"

#include <cstdio>

#include "core/shortstring.h"

namespace zdb {

void Log::print(const char* text) const {
  if (callback_.print != nullptr) return toHost(text);
  std::printf("%s\n", text);
  std::fflush(stdout);
}

void Log::toHost(const char* text) const {
  char shortString[256] = {};
  writeShort(text, shortString);
  callback_.print(shortString, callback_.user);
}

void Log::report(const LastError& error, bool isTraced) const {
  if (error.reason[0] == '\0' || (callback_.print == nullptr && !isTraced)) return;
  char line[kMessageSize];
  writeMessage(line, "%s: %s", error.text, error.reason);
  if (callback_.print != nullptr) toHost(line);
  if (isTraced) debug_out(line, 1);
}

void debug_out(const char* text, int depth) {
  std::printf("%*s%s\n", depth > 1 ? 2 * (depth - 1) : 0, "", text);
  std::fflush(stdout);
}

}  // namespace zdb
