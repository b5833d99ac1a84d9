// How names and labels are written and compared: the same for the library, its companions and the
// tool. Letters are those of ASCII; no locale plays a part.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace zdb::contract {

inline constexpr int kMaxNameLength = 63;  ///< of symbol names and labels, in bytes

constexpr char upperCase(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c ^ 32) : c;
}
constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c ^ 32) : c;
}

inline std::string upperCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = upperCase(c);
  return result;
}
inline std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = lowerCase(c);
  return result;
}

/// Whether two texts differ in the case of letters at most.
constexpr bool isSameText(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerCase(x) == lowerCase(y); });
}

constexpr bool isLetter(char c) {
  return lowerCase(c) >= 'a' && lowerCase(c) <= 'z';
}

/// What stands in a symbol's name: a letter, a digit or an underscore.
constexpr bool isNamePart(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

constexpr bool isControl(char c) {
  return static_cast<unsigned char>(c) < 32;
}

/// A letter, then letters, digits and underscores; 1 to 63 bytes.
constexpr bool isSymbolName(std::string_view name) {
  return !name.empty() && name.size() <= std::size_t{kMaxNameLength} && isLetter(name.front()) &&
         std::all_of(name.begin(), name.end(), isNamePart);
}

/// What every label must be: at most 63 bytes, no control characters, not both kinds of quotes.
constexpr bool isLabel(std::string_view text) {
  constexpr auto npos = std::string_view::npos;
  return text.size() <= std::size_t{kMaxNameLength} &&
         std::none_of(text.begin(), text.end(), isControl) &&
         (text.find('\'') == npos || text.find('"') == npos);
}

/// Labels do not tell blanks at their end.
constexpr std::string_view withoutEndingBlanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

constexpr std::string_view withoutLeadingBlanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

}  // namespace zdb::contract
