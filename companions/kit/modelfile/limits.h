// Limits for the translation of a model file.
#pragma once

namespace zdb::kit::modelfile {

/// A model file with loops and sets can take any amount of either.
struct FileLimits {
  int seconds = 600;
  int megabytes = 0;   ///< 0: half of the machine's memory
  bool files = false;  ///< whether the model's statements may use files
};

}  // namespace zdb::kit::modelfile
