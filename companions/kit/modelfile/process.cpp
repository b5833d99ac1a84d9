#include "kit/modelfile/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>
#include <vector>

#include "contract/descriptor.h"
#include "contract/process.h"
#include "kit/environment.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/protocol.h"
#include "kit/solvers/glpkplugin.h"

namespace zdb::kit::modelfile {

namespace {

using contract::Descriptor;

// A descriptor whose number is above those that are fixed for the program, so that moving one to
// its fixed number cannot overwrite another.
Descriptor aboveFixed(Descriptor given) {
  if (!given.valid() || given.get() > kDataDescriptor) return given;
  return Descriptor(fcntl(given.get(), F_DUPFD_CLOEXEC, kDataDescriptor + 1));
}

// A file without a name, in memory.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& content)
      : descriptor_(aboveFixed(contract::makeMemoryFile("model"))) {
    if (number() < 0) throw ReadError("cannot make a file in memory");
    if (!contract::writeAll(number(), content)) {
      throw ReadError("not enough memory for the contents of the file");
    }
  }

  int number() const { return descriptor_.get(); }

 private:
  Descriptor descriptor_;
};

class Pipe {
 public:
  Pipe() : Pipe(makeEnds()) {
    if (reading() < 0 || writing() < 0) throw ReadError("cannot make a pipe to a new process");
  }

  int reading() const { return reading_.get(); }
  int writing() const { return writing_.get(); }
  void closeWriting() { writing_ = Descriptor(); }

 private:
  using Ends = std::array<int, 2>;

  static Ends makeEnds() {
    Ends ends = {-1, -1};
    return pipe2(ends.data(), O_CLOEXEC) == 0 ? ends : Ends{-1, -1};
  }
  explicit Pipe(const Ends& ends)
      : reading_(aboveFixed(Descriptor(ends[0]))), writing_(aboveFixed(Descriptor(ends[1]))) {}

  Descriptor reading_;
  Descriptor writing_;
};

// Next to the kit's library, where it is built and where a host may put it, or in the folder for
// programs, where it is installed.
std::string readerProgram() {
  std::string program = kit::besideKit(kReaderProgram);
  if (!program.empty()) return program;
  std::string installed = kit::ownDirectory() + ZKIT_READER_FOLDER + kReaderProgram;
  if (access(installed.c_str(), F_OK) == 0) return installed;
  throw ReadError(
      "LP and MathProg files are read by GLPK, and that part of the kit is not there: " +
      kit::ownDirectory() + kReaderProgram + " (Debian package " + kGlpkPackage + ")");
}

// How the program starts: with descriptors at their fixed numbers, standard streams on /dev/null
// and default signal handling.
class Start {
 public:
  Start(int reply, int model, int data) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
    posix_spawn_file_actions_adddup2(&actions_, reply, kReplyDescriptor);
    posix_spawn_file_actions_adddup2(&actions_, model, kModelDescriptor);
    posix_spawn_file_actions_adddup2(&actions_, data, kDataDescriptor);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~Start() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  Start(const Start&) = delete;
  Start& operator=(const Start&) = delete;

  pid_t run(const std::string& program, char* const* arguments) const {
    pid_t child = -1;
    const int error =
        posix_spawn(&child, program.c_str(), &actions_, &attributes_, arguments, environ);
    if (error == 0) return child;
    throw ReadError(program + ", the program that translates model files, cannot be started (" +
                    std::strerror(error) + ")");
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

// Owns a process, which is killed and waited for when it is no longer needed.
class Child {
 public:
  explicit Child(pid_t id) : id_(id) {}
  ~Child() {
    if (id_ <= 0) return;
    kill(id_, SIGKILL);
    wait();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // The exit status, or 0 if the calling program waits for its children elsewhere.
  int wait() { return contract::waitFor(std::exchange(id_, 0)); }

 private:
  pid_t id_;
};

// Reads to the end; returns false if the time is up before that.
bool readAll(int descriptor, int seconds, std::string& bytes) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  std::array<char, 1 << 16> buffer;
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd waiting = {descriptor, POLLIN, 0};
    const int ready = left <= 0 ? 0 : poll(&waiting, 1, static_cast<int>(left));
    if (ready == 0) return false;
    if (ready < 0 && errno == EINTR) continue;
    const ssize_t count =
        contract::uninterrupted([&] { return read(descriptor, buffer.data(), buffer.size()); });
    if (count <= 0) return true;
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

[[noreturn]] void failByStatus(int status, const std::string& program) {
  const bool isKilled = WIFSIGNALED(status);
  if (isKilled && WTERMSIG(status) == SIGKILL) {
    throw ReadError("the system ended the process that translated the model (out of memory?)");
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNoMemory) {
    throw ReadError("not enough memory to translate the model");
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kWrongUse) {
    throw ReadError(program + " does not belong to this kit: install both again");
  }
  throw ReadError(
      "GLPK cannot translate the model: its expressions are nested too deeply, or a definition "
      "refers to itself" +
      (isKilled ? " (signal " + std::to_string(WTERMSIG(status)) + ")" : std::string()));
}

pid_t start(const std::string& program, std::vector<std::string> arguments, const Start& how) {
  std::string name = program;
  std::vector<char*> pointers = {name.data()};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  return how.run(program, pointers.data());
}

// What the program answers. `format` is the first of the arguments that differ.
std::string answerTo(const std::string& format, const SourceText& model, const SourceText& data,
                     const FileLimits& limits) {
  const MemoryFile modelFile(model.content);
  const MemoryFile dataFile(data.content);
  Pipe pipe;
  const std::string program = readerProgram();
  Child child(start(
      program,
      {kReaderProtocol, std::to_string(getpid()), format, std::to_string(limits.seconds),
       std::to_string(limits.megabytes), limits.files ? kFilesAllowed : "", model.name, data.name},
      Start(pipe.writing(), modelFile.number(), dataFile.number())));
  pipe.closeWriting();
  std::string bytes;
  if (!readAll(pipe.reading(), limits.seconds, bytes)) {
    throw ReadError("translating the model takes more than " + std::to_string(limits.seconds) +
                    " seconds");
  }
  const int status = child.wait();
  const bool isWhole = !bytes.empty() && WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
                       (bytes.back() == kResult || bytes.back() == kFailure);
  if (!isWhole) failByStatus(status, program);
  const char type = bytes.back();
  bytes.pop_back();
  if (type == kFailure) throw FileError(bytes);
  return bytes;
}

}  // namespace

std::string translateApart(FileFormat format, const SourceText& model, const SourceText& data,
                           const FileLimits& limits) {
  return answerTo(std::to_string(static_cast<int>(format)), model, data, limits);
}

std::string tryConfinementApart() {
  return answerTo(kTryConfinement, {}, {}, {});
}

}  // namespace zdb::kit::modelfile
