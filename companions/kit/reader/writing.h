// What becomes of the files that a model writes.
#pragma once

namespace zdb::kit::modelfile {

/// The error number of the first write that failed in this program, or 0. GLPK tells nobody when
/// the file of a printf statement cannot be written.
int writeError();

}  // namespace zdb::kit::modelfile
