#include "kit/names.h"

#include <algorithm>
#include <cstdint>

namespace zdb::kit {

bool isLabel(std::string_view label) {
  return !label.empty() && contract::isLabel(label) && label.find('\x7f') == std::string_view::npos;
}

bool isParameterName(std::string_view name) {
  return name.size() > kParameterSuffix.size() && name.ends_with(kParameterSuffix);
}

char quoteFor(std::string_view text) {
  if (text.find('\'') != std::string_view::npos) return '"';
  return std::all_of(text.begin(), text.end(), contract::isNamePart) ? ' ' : '\'';
}

// FNV-1a.
std::size_t CaselessHash::operator()(std::string_view text) const {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(contract::lowerCase(c))) * 1099511628211U;
  }
  return static_cast<std::size_t>(hash);
}

}  // namespace zdb::kit
