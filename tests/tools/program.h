#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tools_test {

/// What a program left behind.
struct Outcome {
  int exitCode = -1;  ///< 128 and above: ended by signal exitCode - 128
  std::string out;
  std::string err;
};

/// Runs a program to its end. Its standard output goes to `outFile` if that is given.
Outcome run(const std::string& program, const std::vector<std::string>& arguments,
            const std::string& outFile = "");

/// A folder of this test's own that goes with it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string path(const std::string& name = "") const { return (folder_ / name).string(); }

 private:
  std::filesystem::path folder_;
};

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

}  // namespace tools_test
