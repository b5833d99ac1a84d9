#include "loaders/message.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace zdb::loaders {

void Message::format(const char* pattern, ...) const {
  if (size_ < 1) return;
  std::va_list arguments;
  va_start(arguments, pattern);
  std::vsnprintf(buffer_, static_cast<std::size_t>(size_), pattern, arguments);
  va_end(arguments);
}

}  // namespace zdb::loaders
