// The formats of model files.
#pragma once

#include <string_view>

namespace zdb::kit::modelfile {

enum class FileFormat : unsigned char { FixedMps, FreeMps, Lp, MathProg };

/// The format of a model file: by the ending of its name when that is one of .mps, .lp, .mod (in
/// any case), otherwise by its first words. An MPS text is taken as fixed when most of its records
/// stand in the columns of the fixed format.
FileFormat formatOf(std::string_view path, std::string_view text);

}  // namespace zdb::kit::modelfile
