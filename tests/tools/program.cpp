#include "program.h"

#include <sys/wait.h>

#include <cstdlib>

namespace tools_test {

Programs::Outcome Programs::run(const std::string& command) const {
  const testsupport::TemporaryFolder streams;
  const std::string out = streams.path("out");
  const std::string err = streams.path("err");
  const int status =
      std::system(("cd '" + folder_.path() + "' && PATH='" PROGRAMS ":'$PATH && {\n" + command +
                   "\n} </dev/null >" + out + " 2>" + err)
                      .c_str());
  return {WEXITSTATUS(status), readFile(out), readFile(err)};
}

void Programs::expectGolden(const std::string& command, const std::string& file) const {
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.exitCode, 0) << command;
  EXPECT_EQ(outcome.out, readFile(GOLDEN "/" + file)) << command;
  EXPECT_EQ(outcome.err, "") << command;
}

void Programs::expect(const std::string& command, int exitCode, const std::string& text) const {
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.exitCode, exitCode) << command << "\n" << outcome.err;
  EXPECT_THAT(outcome.out + outcome.err, HasSubstr(text)) << command;
}

}  // namespace tools_test
