#include "program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tools_test {

namespace {

pid_t spawn(const std::string& program, const std::vector<std::string>& arguments,
            const std::string& outFile, const std::string& errFile) {
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const int flags = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outFile.c_str(), flags, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errFile.c_str(), flags, 0600);
  pid_t child = 0;
  const int error = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot start " + program);
  return child;
}

}  // namespace

Outcome run(const std::string& program, const std::vector<std::string>& arguments,
            const std::string& outFile) {
  const TemporaryFolder folder;
  const std::string out = outFile.empty() ? folder.path("out") : outFile;
  const pid_t child = spawn(program, arguments, out, folder.path("err"));
  int status = 0;
  waitpid(child, &status, 0);
  Outcome outcome;
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  if (outFile.empty()) outcome.out = readFile(out);
  outcome.err = readFile(folder.path("err"));
  return outcome;
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "zdb-tools-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
  folder_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
}

}  // namespace tools_test
