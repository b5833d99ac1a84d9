#pragma once

#include <string>

namespace tools_test {

/// Writes a data file with a symbol of every kind: sets with and without texts, an alias, a relaxed
/// domain, dimensions 0 to 2, special values, labels that CSV has to quote. Throws when the library
/// refuses a step.
void writeSampleFile(const std::string& file);

/// Writes a data file without labels and symbols.
void writeEmptyFile(const std::string& file);

}  // namespace tools_test
