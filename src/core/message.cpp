#include "core/message.h"

#include <cstdio>

namespace zdb {

void writeMessageV(char* buffer, const char* format, std::va_list arguments) {
  if (std::vsnprintf(buffer, kMessageSize, format, arguments) < 0) buffer[0] = '\0';
}

void writeMessage(char* buffer, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  writeMessageV(buffer, format, arguments);
  va_end(arguments);
}

}  // namespace zdb
