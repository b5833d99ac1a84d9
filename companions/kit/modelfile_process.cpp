#include "kit/modelfile_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

namespace zkitfile {

namespace {

constexpr char kResult = 'r';
constexpr char kFailure = 'f';
constexpr int kNoAnswer = 2;  // exit code

// GLPK needs about 2 KB for each value that is defined by the one before it. Only what is used of
// the stack takes memory.
constexpr std::size_t kStackSize = std::size_t{256} << 20;

// A program may have closed its standard streams; our descriptors must not take their numbers.
int aboveStreams(int descriptor) {
  if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
  const int higher = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  close(descriptor);
  return higher;
}

void writeAll(int descriptor, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(descriptor, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
}

// The copy must not run handlers of the program, print, or leave a core file.
void calmDown(const FileLimits& limits) {
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  pthread_sigmask(SIG_SETMASK, &none, nullptr);
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
  alarm(static_cast<unsigned>(limits.seconds) + 5);  // in case the parent is gone by then
}

struct Task {
  const std::function<void(const Reply&)>& work;
  const FileLimits& limits;
  int reply;
  pid_t child = -1;
};

[[noreturn]] void workApart(const Task& task) {
  calmDown(task.limits);
  const Reply reply(task.reply);
  try {
    task.work(reply);
  } catch (...) {  // out of memory
  }
  _exit(kNoAnswer);
}

void* forkOnThisStack(void* argument) {
  Task& task = *static_cast<Task*>(argument);
  task.child = fork();
  if (task.child == 0) workApart(task);
  return nullptr;
}

// Starts the process on a large stack: that of a thread which ends as soon as it was copied.
void start(Task& task) {
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  const int error = pthread_create(&thread, &attributes, forkOnThisStack, &task);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    forkOnThisStack(&task);
  } else {
    pthread_join(thread, nullptr);
  }
  if (task.child < 0) throw Complaint("no process could be started to translate the model");
}

// Owns a process: it is ended and waited for when it is no longer needed.
class Child {
 public:
  explicit Child(pid_t id) : id_(id) {}
  ~Child() {
    if (id_ > 0) end();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // The status that wait gives, or 0 when the program has its children waited for elsewhere.
  int end() {
    kill(id_, SIGKILL);
    return wait();
  }

  int wait() {
    int status = 0;
    while (waitpid(id_, &status, 0) < 0) {
      if (errno == EINTR) continue;
      status = 0;
      break;
    }
    id_ = 0;
    return status;
  }

 private:
  pid_t id_;
};

// Reads to the end, or to the end of the time allowed: then false.
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
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return true;
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

[[noreturn]] void failOfEnd(int status) {
  const bool isKilled = WIFSIGNALED(status);
  if (isKilled && WTERMSIG(status) == SIGKILL) {
    throw Complaint("the system ended the process that translated the model (out of memory?)");
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNoAnswer) {
    throw Complaint("not enough memory to translate the model");
  }
  throw Complaint(
      "GLPK cannot translate the model: its expressions are nested too deeply, or a definition "
      "refers to itself" +
      (isKilled ? " (signal " + std::to_string(WTERMSIG(status)) + ")" : std::string()));
}

class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_, O_CLOEXEC) != 0) throw Complaint("no pipe to a new process could be made");
    for (int& end : ends_) end = aboveStreams(end);
  }
  ~Pipe() {
    close(ends_[0]);
    closeWriting();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int reading() const { return ends_[0]; }
  int writing() const { return ends_[1]; }
  void closeWriting() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }

 private:
  int ends_[2];
};

}  // namespace

void Reply::succeed(const std::string& result) const {
  end(kResult, result);
}

void Reply::fail(const std::string& text) const {
  end(kFailure, text);
}

// The kind comes last, so that a reply that is cut has none.
void Reply::end(char kind, const std::string& text) const {
  writeAll(descriptor_, text.data(), text.size());
  writeAll(descriptor_, &kind, 1);
  _exit(0);
}

std::string runApart(const std::function<void(const Reply&)>& work, const FileLimits& limits) {
  Pipe pipe;
  Task task{work, limits, pipe.writing()};
  start(task);
  Child child(task.child);
  pipe.closeWriting();
  std::string bytes;
  if (!readAll(pipe.reading(), limits.seconds, bytes)) {
    throw Complaint("translating the model takes more than " + std::to_string(limits.seconds) +
                    " seconds");
  }
  const int status = child.wait();
  const bool isWhole = !bytes.empty() && WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
                       (bytes.back() == kResult || bytes.back() == kFailure);
  if (!isWhole) failOfEnd(status);
  const char kind = bytes.back();
  bytes.pop_back();
  if (kind == kFailure) throw FileError(bytes);
  return bytes;
}

MemoryFile::MemoryFile(const std::string& content)
    : descriptor_(aboveStreams(memfd_create("model", MFD_CLOEXEC))) {
  if (descriptor_ < 0) throw Complaint("no file in memory could be made");
  writeAll(descriptor_, content.data(), content.size());
  if (lseek(descriptor_, 0, SEEK_END) != static_cast<off_t>(content.size())) {
    close(descriptor_);
    throw Complaint("not enough memory for the content of the file");
  }
}

MemoryFile::~MemoryFile() {
  close(descriptor_);
}

}  // namespace zkitfile
