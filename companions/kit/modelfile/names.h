// Parses names of rows and columns into symbols with labels.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zdb::kit::modelfile {

/// The parts of a name of a row or column: `ship['New York',chicago]` is the symbol `ship` with the
/// labels `New York` and `chicago`.
struct SymbolicName {
  std::string symbol;               ///< a valid symbol name
  std::string written;              ///< the same part as in the file
  std::vector<std::string> labels;  ///< none: a scalar
};

/// The symbol that the part before the index becomes, valid or not.
std::string symbolOf(std::string_view written);

/// Parses a name. The index is in brackets or parentheses at the end; labels are separated by
/// commas and may be in quotes of either kind; a quote inside is doubled. In the part before the
/// index, blanks and . - + / : & $ % # @ ! ~ | ? ; = < > * ^ ` become underscores;
/// underscores after the index belong to it. Throws a ReadError that shows the name if symbol or
/// labels are not valid, or with more than 20 labels.
SymbolicName parseName(const std::string& name);

}  // namespace zdb::kit::modelfile
