// What the tests of the model file reader share.
#pragma once

#include <filesystem>
#include <string>

#include "kit/modelfile.h"

namespace modelfiletest {

using namespace zkitfile;

// A folder for the files of one test, removed with its content.
class Folder {
 public:
  Folder();
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  // Writes a file and gives its path.
  std::string write(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path path_;
};

// Reads a text as a file of the name.
FileModel readText(const std::string& name, const std::string& content);

// What reading it is answered with, without the path of the folder; empty when it is read.
std::string complaintOf(const std::string& name, const std::string& content,
                        const FileLimits& limits = {});

// Small models that use most of what their formats have.
extern const char* const kFixedMps;
extern const char* const kFreeMps;  // the same model
extern const char* const kLp;
extern const char* const kMathProg;

}  // namespace modelfiletest
