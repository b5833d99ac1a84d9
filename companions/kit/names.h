// Rules for names and labels, and comparing them without regard to case.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "contract/names.h"

namespace zdb::kit {

inline constexpr int kMaxDim = 20;
inline constexpr std::size_t kMaxName = contract::kMaxNameLength;
using contract::isSameText;
using contract::isSymbolName;
using contract::withoutEndingBlanks;

/// What the names of symbols end in whose columns are updatable parameters.
inline constexpr std::string_view kParameterSuffix = "_var";

/// What the database takes as a label, but neither the empty text nor one with a byte of 127.
bool isLabel(std::string_view label);

bool isParameterName(std::string_view name);

/// The quote that a label or text is written with: a blank for none.
char quoteFor(std::string_view text);

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
