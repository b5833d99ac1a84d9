// Reads model files: MPS, CPLEX LP and GNU MathProg. The content of a file becomes a FileModel (by
// GLPK's readers, which run in a separate program, see process.h), its names are parsed (names.h),
// and the instance is built (build.h). doc/model-files.md describes formats and rules.
#pragma once

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/limits.h"

namespace zdb::kit::modelfile {

/// Reads a model file; `data` is the path of a MathProg data file, or null. Throws a FileError.
FileModel readModelFile(const char* path, const char* data, const FileLimits& limits = {});

}  // namespace zdb::kit::modelfile
