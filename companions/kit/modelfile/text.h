// Lines, words and numbers of a text.
#pragma once

#include <string>
#include <string_view>

#include "contract/names.h"

namespace zdb::kit::modelfile {

using contract::lowerCase;

inline bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

/// The text without leading and trailing blanks and tabs.
std::string_view trimmed(std::string_view text);

/// Whether the whole text is a finite number; sets its value.
bool isNumber(const std::string& text, double& value);

/// Removes the next line from `rest`, with its line end, and returns it without.
std::string_view takeLine(std::string_view& rest);

/// Removes the next word, up to a blank or tab, from `rest` and returns it; empty at the end.
std::string_view takeWord(std::string_view& rest);

}  // namespace zdb::kit::modelfile
