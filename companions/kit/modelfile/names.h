// Names of rows and columns as symbols with labels.
#pragma once

#include <string>
#include <vector>

namespace zdb::kit::modelfile {

/// A name of a row or column of a file, taken apart: `ship['New York',chicago]` is the symbol
/// `ship` with the labels `New York` and `chicago`.
struct SymbolicName {
  std::string symbol;               ///< as a symbol can be called
  std::string written;              ///< the same part as it stands in the file
  std::vector<std::string> labels;  ///< none: a scalar
};

/// Takes a name apart. The index stands in brackets or parentheses at the end; labels are separated
/// by commas and may be put in quotes of either kind, in which a doubled quote stands for one. In
/// the part before the index, blanks and . - + / : & $ % # @ ! ~ | ? ; = < > * ^ ` become
/// underscores. Throws a Complaint that shows the name, if what comes out is no name of a symbol,
/// or not up to 20 labels.
SymbolicName parseName(const std::string& name);

}  // namespace zdb::kit::modelfile
