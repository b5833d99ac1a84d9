// Translates a model file with GLPK, for the reader program.
#pragma once

#include <string>

#include "kit/modelfile/format.h"

namespace zdb::kit::modelfile {

/// A file that GLPK reads by its path, and its name in messages.
struct GlpkSource {
  std::string path;  ///< empty: none
  std::string name;
};

struct Translation {
  FileFormat format;
  GlpkSource model;
  GlpkSource data;
  int megabytes;     ///< for GLPK; 0: half of the machine's memory
  bool mayUseFiles;  ///< or else the program is confined
};

/// Ends the program because nothing keeps the model from files.
[[noreturn]] void failUnconfined(const Translation& task);

/// Translates a model with GLPK's readers and sends it, packed, as the reply; or the text of GLPK's
/// complaint, "NAME:LINE: what". Never returns: where GLPK meets an error of its own, there is no
/// way on. Throws nothing but std::bad_alloc.
[[noreturn]] void translateWithGlpk(const Translation& task);

}  // namespace zdb::kit::modelfile
