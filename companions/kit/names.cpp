#include "kit/names.h"

#include <algorithm>
#include <cstdint>

namespace zdb::kit {

namespace {

bool isLetter(char c) {
  return lowerCase(c) >= 'a' && lowerCase(c) <= 'z';
}

bool isWordCharacter(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

}  // namespace

bool isSymbolName(std::string_view name) {
  return !name.empty() && name.size() <= kMaxName && isLetter(name.front()) &&
         std::all_of(name.begin(), name.end(), isWordCharacter);
}

bool isLabel(std::string_view label) {
  const bool hasBothQuotes =
      label.find('\'') != std::string_view::npos && label.find('"') != std::string_view::npos;
  return !label.empty() && label.size() <= kMaxName && !hasBothQuotes &&
         std::none_of(label.begin(), label.end(), isControl);
}

bool isParameterName(std::string_view name) {
  return name.size() > kParameterSuffix.size() && name.ends_with(kParameterSuffix);
}

std::string_view withoutEndingBlanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

char quoteFor(std::string_view text) {
  if (text.find('\'') != std::string_view::npos) return '"';
  return std::all_of(text.begin(), text.end(), isWordCharacter) ? ' ' : '\'';
}

bool isSameText(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return lowerCase(x) == lowerCase(y);
         });
}

// FNV-1a.
std::size_t CaselessHash::operator()(std::string_view text) const {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(lowerCase(c))) * 1099511628211U;
  }
  return static_cast<std::size_t>(hash);
}

}  // namespace zdb::kit
