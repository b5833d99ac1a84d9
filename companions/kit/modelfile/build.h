// Makes a model instance from the content of a model file.
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/read.h"

namespace zdb::kit {
class Instance;
}

namespace zdb::kit::modelfile {

/// Columns and rows of the file keep their numbers. Added after them are:
///
/// - for every range row (two different bounds), a slack column that has the bounds of the row. The
///   row becomes an equation with right-hand side 0 and -1 times the slack. The slack's symbol is
///   that of the row with "_range". The row's marginal is that of the range.
///
/// - for the objective, a free column with its name, and the row that defines it: column minus
///   function equals 0. This replaces the row that the file lists for the objective; without one it
///   is the last row. If a column of the file has the same name, or if it ends in "_var", "_obj" is
///   added to the name.
///
/// "_eqn" is added to the name of a row symbol that a column symbol has as well. If such a name
/// also exists, a number is added to it. The initial level of a column is the value within its
/// bounds that is nearest to 0.
///
/// - for the `changes`, names of what shall be changed (changename.h), updatable parameters for
///   right-hand sides, costs and other coefficients, see changeplan.h.
///
/// The caller frees the instance. A null directory means that of this library. Throws a ReadError.
Instance* buildInstance(const FileModel& file, const char* systemDirectory);

/// The same for a model with variants, of which those that have its structure can be used in the
/// instance.
Instance* buildInstance(const ReadModel& read, const char* systemDirectory,
                        const std::vector<std::string>& changes = {});

}  // namespace zdb::kit::modelfile
