#pragma once

#include <string>

namespace zdb::tool {

/// What a data file's directory says of its symbols, which takes reading none of their records.
class FileDirectory {
 public:
  /// Throws ToolError if the file cannot be read.
  explicit FileDirectory(const std::string& fileName);
  ~FileDirectory();
  FileDirectory(const FileDirectory&) = delete;
  FileDirectory& operator=(const FileDirectory&) = delete;

  /// REQUIRES 0 <= position < number of symbols in the file.
  int recordCount(int position) const;

 private:
  void* file_ = nullptr;
};

}  // namespace zdb::tool
