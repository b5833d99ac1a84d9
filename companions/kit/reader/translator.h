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
  int megabytes;  ///< for GLPK; 0: half of the machine's memory
};

/// Translates a model with GLPK's readers and sends it, packed, as the reply, or GLPK's error text,
/// "NAME:LINE: what". Never returns: after an error GLPK cannot be left. Throws only
/// std::bad_alloc, before a reply has been sent.
[[noreturn]] void translateWithGlpk(const Translation& task);

}  // namespace zdb::kit::modelfile
