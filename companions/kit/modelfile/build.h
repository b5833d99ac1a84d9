// A model instance of what a model file says.
#pragma once

#include "kit/modelfile/filemodel.h"

namespace zdb::kit {
class Instance;
}

namespace zdb::kit::modelfile {

/// Columns and rows of the file keep their numbers; after them come:
///
/// - for every range row (two different bounds): the row is an equation without right-hand side and
///   has -1 times a slack column, whose bounds are those of the row. Its symbol is that of the row
///   with "_range". The row's marginal is that of the range.
///
/// - for the objective: a free column called like it, and the row that defines it, which sets the
///   column minus the function to 0. The row is the one that the file lists for it, or else the
///   last. An objective whose name a column of the file has, or which ends in "_var", gets "_obj".
///
/// A row symbol whose name a column symbol has gets "_eqn". Every such name gets a number after it
/// if it is taken too. Columns begin at the value in their bounds that is nearest to 0.
///
/// The instance is the caller's; with a null directory it has that of this library. Throws a
/// Complaint.
Instance* buildInstance(const FileModel& file, const char* systemDirectory);

}  // namespace zdb::kit::modelfile
