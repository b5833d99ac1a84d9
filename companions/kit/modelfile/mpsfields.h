// Records of MPS files.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "kit/modelfile/format.h"

namespace zdb::kit::modelfile {

/// The fields of a record of an MPS file: the type of a bound or row, then names and numbers in
/// turn. Absent fields are empty. Blanks in names (only in the fixed format) become underscores.
using MpsFields = std::array<std::string, 6>;

/// Splits a record. In the free format the first field is left empty unless `hasType`. Returns
/// false if the record does not fit the format: text between the columns of the fixed format, or
/// too many words. A `$` in place of a name begins a comment.
bool splitRecord(std::string_view line, FileFormat format, bool hasType, MpsFields& fields);

}  // namespace zdb::kit::modelfile
