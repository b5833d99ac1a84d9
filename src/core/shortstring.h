// Short strings: a length byte and up to 255 characters without terminator, in 256 bytes.
#pragma once

#include <cstddef>
#include <string_view>

namespace zdb {

inline constexpr std::size_t kMaxShortLength = 255;

/// Writes as much of a text as fits and returns whether that was all.
inline bool writeShort(std::string_view text, char* out) {
  out[0] = static_cast<char>(text.copy(out + 1, kMaxShortLength));
  return text.size() <= kMaxShortLength;
}

/// Valid as long as the short string.
inline std::string_view readShort(const char* shortString) {
  return {shortString + 1, static_cast<unsigned char>(shortString[0])};
}

}  // namespace zdb
