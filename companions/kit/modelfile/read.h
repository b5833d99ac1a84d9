// Reads model files: MPS, CPLEX LP and GNU MathProg. The content of a file becomes a FileModel (MPS
// by mpsreader.h, the others by GLPK's readers, which run in a separate program, see process.h),
// its names are parsed (names.h), and the instance is built (build.h). doc/model-files.md describes
// formats and rules.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/modelfile/difference.h"
#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/limits.h"
#include "kit/modelfile/mathprogparams.h"

namespace zdb::kit::modelfile {

/// A text to be read: the content that is given, or else that of the file with this name.
struct FileSource {
  std::string name;
  std::optional<std::string_view> content = {};
  std::string_view ending = {};  ///< tells the format of a model; empty: that of its name does
};

/// What is to be read. The name of the model picks its format.
struct ReadRequest {
  FileSource model;
  std::optional<FileSource> data = {};  ///< of a MathProg model
  FileLimits limits = {};
  std::vector<ParamValue> params = {};                 ///< other values of its params
  std::vector<std::vector<ParamValue>> variants = {};  ///< and again others, beside these
};

struct ReadModel {
  FileModel model;
  std::vector<VariantModel> variants;
  std::vector<std::string> params;  ///< of a MathProg model, that can be given values
  std::map<std::string, int> paramEntries =
      {};  ///< how many entries those have that were given values
};

/// Reads a model and its variants. Throws a FileError, but not for a variant.
ReadModel readModel(const ReadRequest& request);

/// The params of a model that can be given values. Throws a FileError.
std::vector<std::string> readParams(const FileSource& model);

/// Reads a model file; `data` is the path of a MathProg data file, or null. Throws a FileError.
FileModel readModelFile(const char* path, const char* data, const FileLimits& limits = {});

}  // namespace zdb::kit::modelfile
