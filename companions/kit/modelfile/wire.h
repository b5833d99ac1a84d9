// Serialises a model, to send it from one process to another.
#pragma once

#include <string>

#include "kit/modelfile/filemodel.h"

namespace zdb::kit::modelfile {

/// A model as bytes, for another process on the same machine: numbers as in memory, texts and lists
/// preceded by their length.
std::string packModel(const FileModel& model);

/// The inverse. Throws a ReadError if the bytes are not a complete model, or if it has a row or
/// column number that is out of range.
FileModel unpackModel(const std::string& bytes);

}  // namespace zdb::kit::modelfile
