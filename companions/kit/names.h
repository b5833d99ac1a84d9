// Rules for names and labels, and comparisons without regard to case.
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

/// The suffix of symbols whose columns are updatable parameters.
inline constexpr std::string_view kParameterSuffix = "_var";

/// Whether a text is a label for the database, not empty, and without the control character 127.
bool isLabel(std::string_view label);

bool isParameterName(std::string_view name);

/// The quote to write a label or text with; a blank means none.
char quoteFor(std::string_view text);

struct CaselessHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const;
};

struct CaselessEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return isSameText(a, b); }
};

/// Numbers by text; a lookup does not copy the text.
using NumberByName = std::unordered_map<std::string, int, CaselessHash, CaselessEqual>;

}  // namespace zdb::kit
