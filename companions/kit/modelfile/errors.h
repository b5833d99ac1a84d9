// What is thrown about model files that cannot be read.
#pragma once

#include <stdexcept>
#include <string>

namespace zdb::kit::modelfile {

/// A file that cannot be read as a model. The text is complete: file, line where there is one,
/// what.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The same as the reader's parts throw it: they do not know what the file is called.
struct Complaint : std::runtime_error {
  explicit Complaint(const std::string& what, int atLine = 0)
      : std::runtime_error(what), line(atLine) {}
  FileError of(const std::string& file) const {
    return FileError(file + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " +
                     what());
  }

  int line;  ///< 0: none
};

}  // namespace zdb::kit::modelfile
