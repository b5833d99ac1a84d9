// Translates model files in a separate process.
#pragma once

#include <string>

#include "kit/modelfile/format.h"
#include "kit/modelfile/limits.h"

namespace zdb::kit::modelfile {

/// A text to be translated, and its name in messages.
struct SourceText {
  std::string name;  ///< empty: none
  std::string content;
};

/// Has the kit's reader program translate a model, and returns the packed model that it sends. A
/// separate program may crash, exhaust its stack, loop for ever or leak memory without affecting
/// the caller; and any thread can start it, whatever locks the others hold. Throws a FileError with
/// the text that the program sends, or a ReadError that says how it ended.
std::string translateApart(FileFormat format, const SourceText& model, const SourceText& data,
                           const FileLimits& limits);

}  // namespace zdb::kit::modelfile
