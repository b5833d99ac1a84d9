// Files of one test.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace zdb::test {

inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A folder that goes with the object, and with it what was written to it.
class TemporaryFolder {
 public:
  // In another folder than that of the system if one is given.
  explicit TemporaryFolder(const std::filesystem::path& parent = {}) {
    std::string name =
        (parent.empty() ? std::filesystem::temp_directory_path() : parent) / "zdb-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    folder_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string path(const std::string& name = "") const { return folder_ / name; }
  // Writes a file and gives its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }

 private:
  std::filesystem::path folder_;
};

}  // namespace zdb::test
