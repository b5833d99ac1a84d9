// Scripts over the command-line programs of this build. They run in a folder of their own; $GOLDEN
// is a folder with data files and what is to be printed for them, $DIET the data of the demo,
// $EXTENSION the library that SQLite can load.
#include <sys/wait.h>

#include <cstdlib>

#include "script/driver.h"
#include "support/files.h"

namespace {

using zdb::script::Run;
using zdb::script::Statement;

const zdb::test::TemporaryFolder folder;

// write FILE TEXT
std::string write(Run& /*run*/, const Statement& statement) {
  folder.write(statement.arguments.at(0).text, statement.arguments.at(1).text);
  return "done";
}

// run COMMAND [TEXT]: has the shell run a command, with the text in the file a.csv. Gives its exit
// code, 128 and above if a signal ended it, and what it wrote to standard error.
std::string run(Run& /*run*/, const Statement& statement) {
  if (statement.arguments.size() > 1) folder.write("a.csv", statement.arguments[1].text);
  const std::string command = "{\n" + statement.arguments.at(0).text + "\n} </dev/null 2>.errors";
  const int status = std::system(command.c_str());
  const std::string errors = zdb::test::readFile(folder.path(".errors"));
  const std::string code = std::to_string(WEXITSTATUS(status));
  return errors.empty() ? code : code + " \"" + zdb::script::shown(errors) + '"';
}

struct ShellHost : zdb::script::Host {
  ShellHost() : Host({}) {
    words["write"] = write;
    words["run"] = run;
  }
  void* create(const zdb::script::Way& /*way*/) override { return nullptr; }
  void destroy(void* /*object*/) override {}
};

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the test, as it should
int main(int argc, char** argv) {
  setenv("PATH", (PROGRAMS ":" + std::string(getenv("PATH"))).c_str(), 1);
  setenv("EXTENSION", EXTENSION, 1);
  setenv("GOLDEN", GOLDEN, 1);
  setenv("DIET", DIET_DATA, 1);
  std::filesystem::current_path(folder.path());
  ShellHost host;
  zdb::script::Way once;
  once.name = "once";
  return zdb::script::runProgram(argc, argv, {host, {once}, {}});
}
