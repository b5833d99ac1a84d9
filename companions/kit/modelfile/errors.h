// The exceptions for model files that cannot be read.
#pragma once

#include <stdexcept>
#include <string>

namespace zdb::kit::modelfile {

/// A file that cannot be read as a model. The text is complete: file, line if there is one, and
/// what is wrong.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The same from the parts of the reader that do not know the name of the file.
struct ReadError : std::runtime_error {
  explicit ReadError(const std::string& what, int atLine = 0)
      : std::runtime_error(what), line(atLine) {}
  /// The complete error about a file.
  FileError of(const std::string& file) const {
    return FileError(file + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " +
                     what());
  }

  int line;  ///< 0: none
};

}  // namespace zdb::kit::modelfile
