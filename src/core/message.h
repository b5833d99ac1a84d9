#pragma once

#include <cstdarg>

namespace zdb {

/// Size of a message buffer, terminator included; longer messages are cut.
inline constexpr int kMessageSize = 256;

/// Formats into a buffer of kMessageSize bytes, cut and always terminated.
[[gnu::format(printf, 2, 3)]] void writeMessage(char* buffer, const char* format, ...);
void writeMessageV(char* buffer, const char* format, std::va_list arguments);

}  // namespace zdb
