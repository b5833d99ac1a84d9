// What translating a model file may take.
#pragma once

namespace zdb::kit::modelfile {

/// A model with loops and sets can ask for any amount.
struct FileLimits {
  int seconds = 600;
  int megabytes = 0;   ///< 0: half of the machine's memory
  bool files = false;  ///< whether the model's statements may use files
};

}  // namespace zdb::kit::modelfile
