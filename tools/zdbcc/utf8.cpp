#include "utf8.h"

#include <cstdint>

namespace zdb::tool {

std::size_t utf8Length(std::string_view text) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<std::uint8_t>(text[i]) : std::uint8_t{0};
  };
  const std::uint8_t first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF4) return 0;
  const std::uint8_t least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const std::uint8_t most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < least || byte(1) > most) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return length;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace zdb::tool
