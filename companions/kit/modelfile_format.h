#pragma once

#include <array>
#include <string>
#include <string_view>

namespace zkitfile {

enum class FileFormat : unsigned char { FixedMps, FreeMps, Lp, MathProg };

// The format of a model file: by the ending of its name when that is one of .mps, .lp, .mod (in any
// case), otherwise by its first words. An MPS text is taken as fixed when most of its records stand
// in the columns of the fixed format.
FileFormat formatOf(std::string_view path, std::string_view text);

// The fields of a record of an MPS file: the first is a bound or row type, then names and numbers
// in turn. A field that is absent is empty. Names with blanks, which only the fixed format has, get
// underscores in their place.
using MpsFields = std::array<std::string, 6>;

// Takes a record apart. In the free format the first field is left empty unless `hasType`. False
// when the record does not fit the format: text between the columns of the fixed one, or more
// than six words.
bool splitRecord(std::string_view line, FileFormat format, bool hasType, MpsFields& fields);

// Whether the whole of a text is a number; gives its value.
bool isNumber(const std::string& text, double& value);

// The next line of `rest`, without its end, which is taken off `rest`.
std::string_view takeLine(std::string_view& rest);

// The words of a text, separated by blanks and tabs.
std::string_view takeWord(std::string_view& rest);

// With ASCII letters in lower case.
std::string lowerCase(std::string_view text);

}  // namespace zkitfile
