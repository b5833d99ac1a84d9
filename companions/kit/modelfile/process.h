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

/// What the reader program could still do if it were translating a model that may use no files, as
/// tryConfinement() describes it (reader/confinement.h). Throws a ReadError that says why it did
/// not answer.
std::string tryConfinementApart();

}  // namespace zdb::kit::modelfile
