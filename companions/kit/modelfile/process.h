// Translating model files in a process of its own.
#pragma once

#include <string>

#include "kit/modelfile/format.h"
#include "kit/modelfile/limits.h"

namespace zdb::kit::modelfile {

/// A text that is to be translated, and the name by which messages call it.
struct SourceText {
  std::string name;  ///< empty: none
  std::string content;
};

/// Has the kit's reader program translate a model, and gives the packed model that it sends. A
/// program of its own may crash, exhaust its stack, never end or lose memory, and nothing of the
/// caller's changes; and it can be started in any thread, whatever the others hold locked. Throws
/// FileError with the text that it sends, or a Complaint that says how it ended.
std::string translateApart(FileFormat format, const SourceText& model, const SourceText& data,
                           const FileLimits& limits);

/// What the reader program could still do if it were translating a model that may use no files, as
/// tryConfinement() describes it (reader/confinement.h). Throws a Complaint that says why it did
/// not answer.
std::string tryConfinementApart();

}  // namespace zdb::kit::modelfile
