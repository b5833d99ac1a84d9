#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "contract/names.h"

/// Text functions that know ASCII letters only and do not depend on the locale.
namespace zxf::utils {

inline constexpr char toupper(char c) {
  return zdb::contract::upperCase(c);
}

inline std::string uppercase(std::string_view text) {
  return zdb::contract::upperCase(text);
}

/// Whether the texts are equal after folding the letters A to Z.
constexpr bool sameTextInvariant(std::string_view a, std::string_view b) {
  return zdb::contract::isSameText(a, b);
}

/// Negative, 0 or positive if `a` comes before, is equal to or comes after `b`: the difference of
/// the first bytes that differ, else of the lengths. An empty text comes before all others.
int strCompare(std::string_view a, std::string_view b, bool caseInsensitive = true);

/// Removes leading and trailing bytes of 32 and below.
std::string trim(std::string_view text);

/// Removes trailing bytes of 32 and below. Returns `text` itself if there are none, else `buffer`
/// with the remaining text, terminated; `length` receives its length.
/// REQUIRES `buffer` has room for the whole text.
const char* trimRight(const char* text, char* buffer, int& length);

/// Writes a length byte and the bytes of `text` to `out` (256 bytes) and returns 0. A text of 256
/// bytes or more is replaced by an error text, whose length is returned.
int strConvCppToDelphi(std::string_view text, char* out);

/// Start positions of the occurrences of a pattern that do not overlap.
/// REQUIRES the pattern is not empty.
std::vector<std::size_t> substrPositions(std::string_view text, std::string_view pattern);
std::string replaceSubstrs(std::string_view text, std::string_view pattern,
                           std::string_view replacement);

/// The text in quotes if it contains a byte of 32 or below, else as it is.
std::string quoteWhitespace(std::string_view text, char quote = '\'');

template <typename T>
bool in(const T& value, std::initializer_list<T> list) {
  for (const T& candidate : list) {
    if (candidate == value) return true;
  }
  return false;
}

}  // namespace zxf::utils
