#include "core/lasterror.h"

#include <cstring>
#include <iterator>

namespace zdb {

const char* errorKindName(int kind) {
  static constexpr const char* names[] = {
      "none",           "not found", "end of records", "argument", "exists",       "invalid label",
      "invalid handle", "state",     "out of memory",  "system",   "damaged file", "domain",
      "companion",      "model",     "callback",       "other"};
  static_assert(std::size(names) == ErrorOther + 1);
  return names[kind >= 0 && kind <= ErrorOther ? kind : ErrorOther];
}

bool LastError::set(ErrorKind newKind, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  setV(newKind, format, arguments);
  va_end(arguments);
  return false;
}

bool LastError::setV(ErrorKind newKind, const char* format, std::va_list arguments) {
  // Formatted elsewhere first, since an argument may be the text itself.
  char message[kMessageSize];
  writeMessageV(message, format, arguments);
  std::memcpy(text, message, sizeof text);
  kind = newKind;
  reason[0] = '\0';
  ++count;
  return false;
}

bool LastError::set(const LastError& other) {
  kind = other.kind;
  std::memmove(text, other.text, sizeof text);
  std::memmove(reason, other.reason, sizeof reason);
  ++count;
  return false;
}

void LastError::clear() {
  kind = ErrorNone;
  text[0] = '\0';
  reason[0] = '\0';
}

}  // namespace zdb
