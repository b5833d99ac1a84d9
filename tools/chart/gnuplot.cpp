#include "chart/gnuplot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "contract/descriptor.h"
#include "contract/utf8.h"

namespace zdb::chart {

namespace {

using contract::Descriptor;

[[noreturn]] void failBySystem(const char* what) {
  throw ChartError(std::string(what) + ": " + std::strerror(errno));
}

Descriptor memoryFile(const char* title) {
  Descriptor file = contract::makeMemoryFile(title);
  if (!file.valid()) failBySystem("cannot make a file for gnuplot");
  return file;
}

std::string contentOf(const Descriptor& file) {
  std::string text(static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END)), '\0');
  const auto got =
      contract::uninterrupted([&] { return pread(file.get(), text.data(), text.size(), 0); });
  text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  return text;
}

/// Where a program finds its input, output and errors: files, so that none waits for another.
struct Streams {
  Descriptor input = memoryFile("script");
  Descriptor output = memoryFile("picture");
  Descriptor errors = memoryFile("errors");
};

int runProgram(const Streams& streams) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, streams.input.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, streams.output.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, streams.errors.get(), STDERR_FILENO);
  std::array<std::string, 3> words = {"gnuplot", "-d", "-"};  // -d: without start files
  std::array<char*, 4> arguments = {words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t process = 0;
  const int problem =
      posix_spawnp(&process, "gnuplot", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (problem == ENOENT) {
    throw ChartError(
        "pictures are drawn by the program gnuplot, which is not installed; Debian's package is "
        "gnuplot-nox");
  }
  if (problem != 0) throw ChartError(std::string("cannot run gnuplot: ") + std::strerror(problem));
  int status = 0;
  contract::uninterrupted([&] { return waitpid(process, &status, 0); });
  return status;
}

}  // namespace

void requireGnuplot() {
  runGnuplot("");
}

std::string runGnuplot(const std::string& script) {
  const Streams streams;
  if (!contract::writeAll(streams.input.get(), script))
    failBySystem("cannot hand a script to gnuplot");
  lseek(streams.input.get(), 0, SEEK_SET);
  const int status = runProgram(streams);
  if (status != 0) throw ChartError("gnuplot failed: " + contentOf(streams.errors));
  return contentOf(streams.output);
}

std::string plainText(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = contract::utf8Length(text);
    const char c = text.front();
    const bool isControl = length == 1 && (static_cast<unsigned char>(c) < ' ' || c == '\x7f');
    if (length == 0 || isControl) {
      result += '?';
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

// In single quotes, gnuplot knows nothing but the quote itself, which is doubled.
std::string gnuplotText(std::string_view text) {
  std::string result = "'";
  for (const char c : plainText(text)) result.append(c == '\'' ? 2 : 1, c);
  return result + "'";
}

}  // namespace zdb::chart
