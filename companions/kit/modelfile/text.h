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

/// Without blanks and tabs at its ends.
std::string_view trimmed(std::string_view text);

/// Whether the whole of a text is a number; gives its value.
bool isNumber(const std::string& text, double& value);

/// The next line of `rest`, without its end, which is taken off `rest`.
std::string_view takeLine(std::string_view& rest);

/// The words of a text, separated by blanks and tabs.
std::string_view takeWord(std::string_view& rest);

}  // namespace zdb::kit::modelfile
