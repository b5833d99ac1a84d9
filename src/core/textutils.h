#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "contract/names.h"

/// Text functions that know ASCII letters only: no locale plays a part.
namespace zxf::utils {

inline constexpr char toupper(char c) {
  return zdb::contract::upperCase(c);
}

inline std::string uppercase(std::string_view text) {
  return zdb::contract::upperCase(text);
}

/// Equal lengths and equal after folding 'A'..'Z'.
constexpr bool sameTextInvariant(std::string_view a, std::string_view b) {
  return zdb::contract::isSameText(a, b);
}

/// Negative, 0 or positive as a stands before, at or behind b: the difference of the first bytes
/// that differ, else of the lengths; an empty text stands before every other.
int strCompare(std::string_view a, std::string_view b, bool caseInsensitive = true);

/// Without leading and trailing bytes of 32 and below.
std::string trim(std::string_view text);

/// Cuts trailing bytes of 32 and below. Returns `text` itself when nothing is cut, else `buffer`
/// with the kept part, terminated; `length` receives the kept length. `buffer` must hold the text.
const char* trimRight(const char* text, char* buffer, int& length);

/// Writes a length byte and the bytes of `text` into `out` (256 bytes) and returns 0. A text of 256
/// bytes or more is replaced by an error text, whose length is returned.
int strConvCppToDelphi(std::string_view text, char* out);

/// Start positions of the occurrences of a non-empty pattern, which do not overlap.
std::vector<std::size_t> substrPositions(std::string_view text, std::string_view pattern);
std::string replaceSubstrs(std::string_view text, std::string_view pattern,
                           std::string_view replacement);

/// The text between quotes when it holds a byte of 32 or below, else as it is.
std::string quoteWhitespace(std::string_view text, char quote = '\'');

template <typename T>
bool in(const T& value, std::initializer_list<T> list) {
  for (const T& candidate : list) {
    if (candidate == value) return true;
  }
  return false;
}

}  // namespace zxf::utils
