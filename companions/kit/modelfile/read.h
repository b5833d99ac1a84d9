// Reads model files: MPS, CPLEX LP and GNU MathProg. The content of a file becomes a FileModel (by
// GLPK's readers, which run in a separate program, see process.h), its names are parsed (names.h),
// and the instance is built (build.h). doc/model-files.md describes formats and rules.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/limits.h"

namespace zdb::kit::modelfile {

/// A text to be read: the content that is given, or else that of the file with this name.
struct FileSource {
  std::string name;
  std::optional<std::string_view> content = {};
  std::string_view ending = {};  ///< tells the format of a model; empty: that of its name does
};

/// Reads a model; `data` is the data of a MathProg model, or null. The name of the model picks its
/// format. Throws a FileError.
FileModel readModel(const FileSource& model, const FileSource* data, const FileLimits& limits = {});

/// Reads a model file; `data` is the path of a MathProg data file, or null. Throws a FileError.
FileModel readModelFile(const char* path, const char* data, const FileLimits& limits = {});

}  // namespace zdb::kit::modelfile
