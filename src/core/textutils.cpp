#include "core/textutils.h"

#include <algorithm>
#include <cstring>

#include "core/shortstring.h"

namespace zxf::utils {

namespace {

bool isBlank(char c) {
  return static_cast<unsigned char>(c) <= 32;
}

}  // namespace

int strCompare(std::string_view a, std::string_view b, bool caseInsensitive) {
  if (a.empty() || b.empty()) return (b.empty() ? 1 : 0) - (a.empty() ? 1 : 0);
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const auto x = static_cast<unsigned char>(caseInsensitive ? toupper(a[i]) : a[i]);
    const auto y = static_cast<unsigned char>(caseInsensitive ? toupper(b[i]) : b[i]);
    if (x != y) return x - y;
  }
  return static_cast<int>(a.size()) - static_cast<int>(b.size());
}

std::string trim(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return std::string(text);
}

const char* trimRight(const char* text, char* buffer, int& length) {
  const std::size_t whole = std::strlen(text);
  std::size_t kept = whole;
  while (kept > 0 && isBlank(text[kept - 1])) --kept;
  length = static_cast<int>(kept);
  if (kept == whole) return text;
  std::memcpy(buffer, text, kept);
  buffer[kept] = '\0';
  return buffer;
}

int strConvCppToDelphi(std::string_view text, char* out) {
  constexpr std::string_view tooLong = "Error: Maximum short string length is 255 characters!";
  if (zdb::writeShort(text, out)) return 0;
  zdb::writeShort(tooLong, out);
  return static_cast<int>(tooLong.size());
}

std::vector<std::size_t> substrPositions(std::string_view text, std::string_view pattern) {
  std::vector<std::size_t> positions;
  if (pattern.empty()) return positions;
  for (std::size_t at = text.find(pattern); at != std::string_view::npos;
       at = text.find(pattern, at + pattern.size())) {
    positions.push_back(at);
  }
  return positions;
}

std::string replaceSubstrs(std::string_view text, std::string_view pattern,
                           std::string_view replacement) {
  std::string result;
  std::size_t from = 0;
  for (const std::size_t at : substrPositions(text, pattern)) {
    result.append(text, from, at - from).append(replacement);
    from = at + pattern.size();
  }
  return result.append(text, from);
}

std::string quoteWhitespace(std::string_view text, char quote) {
  if (std::none_of(text.begin(), text.end(), isBlank)) return std::string(text);
  std::string result(1, quote);
  return result.append(text).append(1, quote);
}

}  // namespace zxf::utils
