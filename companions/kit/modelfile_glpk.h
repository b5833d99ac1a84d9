#pragma once

#include <string>

#include "kit/modelfile.h"
#include "kit/modelfile_format.h"
#include "kit/modelfile_process.h"

namespace zkitfile {

// A text that GLPK reads by its path, and the name by which messages call it.
struct GlpkSource {
  std::string path;  // empty: none
  std::string name;
};

// Translates a model with GLPK's readers and sends it, packed, as the reply; or the text of GLPK's
// complaint, "NAME:LINE: what". Never returns. It runs in a process that was started for it: GLPK
// prints, and where it meets an error of its own, there is no way on.
[[noreturn]] void translateWithGlpk(FileFormat format, const GlpkSource& model,
                                    const GlpkSource& data, int megabytes, const Reply& reply);

}  // namespace zkitfile
