// The formats of model files.
#pragma once

#include <string_view>

namespace zdb::kit::modelfile {

enum class FileFormat : unsigned char { FixedMps, FreeMps, Lp, MathProg };

/// The format of a model file: by its extension if that is .mps, .lp or .mod (in upper or lower
/// case), otherwise by its first words. An MPS text is taken as fixed if most of its records are in
/// the columns of the fixed format.
FileFormat formatOf(std::string_view path, std::string_view text);

}  // namespace zdb::kit::modelfile
