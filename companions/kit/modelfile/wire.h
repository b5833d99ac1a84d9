// A model on its way from one process to another.
#pragma once

#include <string>

#include "kit/modelfile/filemodel.h"

namespace zdb::kit::modelfile {

/// A model as bytes, for the way from one process to another on the same machine: numbers as in
/// memory, texts and lists after their length.
std::string packModel(const FileModel& model);

/// The reverse. Throws Complaint when the bytes are no whole model, or when a row or column number
/// in it is none of the model's.
FileModel unpackModel(const std::string& bytes);

}  // namespace zdb::kit::modelfile
