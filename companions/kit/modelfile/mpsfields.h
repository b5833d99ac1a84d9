// Records of MPS files.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "kit/modelfile/format.h"

namespace zdb::kit::modelfile {

/// The fields of a record of an MPS file: the first is a bound or row type, then names and numbers
/// in turn. A field that is absent is empty. Names with blanks, which only the fixed format has,
/// get underscores in their place.
using MpsFields = std::array<std::string, 6>;

/// Takes a record apart. In the free format the first field is left empty unless `hasType`. False
/// when the record does not fit the format: text between the columns of the fixed one, or more
/// than six words.
bool splitRecord(std::string_view line, FileFormat format, bool hasType, MpsFields& fields);

}  // namespace zdb::kit::modelfile
