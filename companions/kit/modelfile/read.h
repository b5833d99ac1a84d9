// Reading of model files: MPS, CPLEX LP and GNU MathProg. What a file holds is read into a
// FileModel (its text and GLPK's translators, which are a program of their own, see process.h), its
// names are taken apart (names.h), and the model is built (build.h). doc/model-files.md tells
// formats and rules.
#pragma once

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/limits.h"

namespace zdb::kit::modelfile {

/// Reads a model file; `data` is the path of a MathProg data file, or null. Throws FileError.
FileModel readModelFile(const char* path, const char* data, const FileLimits& limits = {});

}  // namespace zdb::kit::modelfile
