#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/files.h"

namespace tools_test {

using testing::HasSubstr;
using testsupport::readFile;

/// Command lines of the shell, run in a folder of the test's own. Programs of this build are found
/// by their names; GOLDEN, a folder, holds the data files of the tests and what is to be printed.
class Programs : public testing::Test {
 protected:
  struct Outcome {
    int exitCode;  ///< 128 and above: ended by signal exitCode - 128
    std::string out;
    std::string err;
  };
  Outcome run(const std::string& command) const;

  /// Runs a command that is to print a golden file and nothing else.
  void expectGolden(const std::string& command, const std::string& file) const;

  /// Runs a command that is to exit with the code and to print the text, among others.
  void expect(const std::string& command, int exitCode, const std::string& text) const;

  testsupport::TemporaryFolder folder_;
};

}  // namespace tools_test
