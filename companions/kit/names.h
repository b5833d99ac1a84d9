// Rules for names and labels, and comparing them without regard to case.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zdb::kit {

inline constexpr int kMaxDim = 20;
inline constexpr std::size_t kMaxName = 63;  // bytes

/// What the names of symbols end in whose columns are updatable parameters.
inline constexpr std::string_view kParameterSuffix = "_var";

/// A letter, then letters, digits and underscores; 1 to 63 bytes.
bool isSymbolName(std::string_view name);

/// 1 to 63 bytes without control characters, and not both kinds of quotes.
bool isLabel(std::string_view label);

bool isParameterName(std::string_view name);

/// Labels do not tell blanks at their end.
std::string_view withoutEndingBlanks(std::string_view text);

/// The quote that a label or text is written with: a blank for none.
char quoteFor(std::string_view text);

inline char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Whether two texts differ in the case of ASCII letters at most.
bool isSameText(std::string_view a, std::string_view b);

struct CaselessHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const;
};

struct CaselessEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return isSameText(a, b); }
};

/// Numbers of texts, found without a copy of the text.
using NumberByName = std::unordered_map<std::string, int, CaselessHash, CaselessEqual>;

}  // namespace zdb::kit
