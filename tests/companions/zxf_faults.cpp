// File work under every fault that the system may have in stock: each system call fails once, and
// from then on, the process dies at it, or the power does. Afterwards the old or the new file is
// whole, nothing is left over, and trying again works. Without an argument this is a short test;
// with --soak all of it, and writers are killed at random moments.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>
#include <stdexcept>

#include "support/allocations.h"
#include "support/systemcalls.h"
#include "zxf_testing.h"

namespace {

using namespace zdb::test;
using namespace zdb::test::zxf;
namespace fs = std::filesystem;

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

constexpr Calls kFileWork = {Call::Open, Call::Read,  Call::Write,  Call::Sync, Call::Rename,
                             Call::Link, Call::Close, Call::Status, Call::Mode};
constexpr Calls kAll = {Call::Open, Call::Write,  Call::Sync,  Call::Rename, Call::Link,
                        Call::Lock, Call::Unlink, Call::Close, Call::Status, Call::Mode};

// One kind of fault, and what a call of the library may say of it. Without such an error, it must
// do all the same what it does without a fault.
struct FaultKind : SystemFault {
  const char* name;
  bool canLast = true;
  std::set<Errc> reported = {};
};

const FaultKind kKinds[] = {
    {{Event::Error, kFileWork, EIO},
     "EIO",
     true,
     {Errc::CannotOpenFile, Errc::ReadFailed, Errc::CannotCreateFile, Errc::WriteFailed,
      Errc::CannotReplaceFile, Errc::Unexpected}},
    {{Event::Error,
      {Call::Open, Call::Write, Call::Sync, Call::Rename, Call::Link, Call::Close},
      ENOSPC},
     "ENOSPC",
     true,
     {Errc::NoSpace, Errc::CannotOpenFile, Errc::CannotCreateFile, Errc::CannotReplaceFile,
      Errc::Unexpected}},
    {{Event::Error, {Call::Open, Call::Read, Call::Write, Call::Sync, Call::Close}, EINTR},
     "EINTR",
     false},
    {{Event::ShortCount, {Call::Read, Call::Write}}, "short counts"},
    {{Event::Error, {Call::Lock}, ENOLCK}, "no locks"},
    {{Event::Error, {Call::Pack}, ENOMEM}, "no memory to pack", true, {Errc::OutOfMemory}},
    {{Event::Death, kAll}, "killed"},
    {{Event::WritesDropped, kAll}, "power loss, writes dropped"},
    {{Event::WritesReordered, kAll}, "power loss, writes reordered"},
    {{Event::WritesGarbled, kAll}, "power loss, writes garbled"},
};

struct Job {
  const char* name;
  bool reads;
  bool replaces;
  bool nameless;
  Reading how = Reading::OneByOne;
};

constexpr Job kJobs[] = {
    {"read", true, true, true},
    {"read many at a time", true, true, true, Reading::Columns},
    {"write a new file", false, false, true},
    {"write a new file without nameless ones", false, false, false},
    {"replace a file", false, true, true},
    {"replace a file without nameless ones", false, true, false},
};

// Enough for several blocks, which do not fit a writer's buffer, if it is large.
Content contentOf(int seed, int records) {
  Content content = smallContent();
  std::mt19937_64 random(static_cast<unsigned>(seed));
  content.labels = makeLabels(std::max(records, 1000));
  content.symbols.push_back(
      column("noise", records, [&](int) { return static_cast<double>(random() >> 11); }));
  return content;
}

int openDescriptors() {
  const auto all = fs::directory_iterator("/proc/self/fd");
  return static_cast<int>(std::distance(begin(all), end(all)));
}

// A process of its own, which ends with what the work gives and never comes back here, where the
// files would go with their owner.
template <class Work>
pid_t start(Work work) {
  const pid_t child = fork();
  require(child >= 0, std::strerror(errno));
  if (child > 0) return child;
  try {
    _exit(work());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "in a child: %s\n", error.what());
    _exit(1);
  }
}

// A folder in which one file is written or read again and again, beside files of others that look
// like left-overs and are none.
class Bench {
 public:
  Bench(const fs::path& parent, int records)
      : folder_(parent), old_(contentOf(1, records)), new_(contentOf(2, records)) {
    folder_.write(".a.0123456789abcdef.tmp", "");
    folder_.write(".a.0123456789abcdeg.zxf.tmp", "");
    fs::create_directory(folder_.path(".b.0123456789abcdef.zxf.tmp"));
    fs::create_symlink("a", folder_.path(".c.0123456789abcdef.zxf.tmp"));
    setNamelessFiles(false);
    writing_.openWrite(folder_.path("d"));
    others_ = namesIn(folder_);
    withTarget_ = others_;
    withTarget_.emplace_back("a");
  }

  // Tries a kind of fault at each call of a job; gives how many there were.
  int sweep(const FaultKind& kind, int count, const Job& job) {
    setNamelessFiles(job.nameless);
    int total = 0;
    for (int first = 1;; ++first) {
      prepare(job);
      const int injected = kind.isDeadly() ? die(kind, first, job) : fail(kind, first, count, job);
      total += injected;
      if (injected == 0) return total;
      tryAgain(job);
    }
  }

  // Lets each allocation of a writer fail once. Nobody looks at what the calls give, and closing
  // must not publish the rest.
  void starve(const Job& job) {
    setNamelessFiles(job.nameless);
    prepare(job);
    for (std::uint64_t number = 1;; ++number) {
      const Zxf zxf;
      const Allocations allocations(number);
      writeRecords(zxf);
      const int closed = C__zxfClose(zxf);
      if (!allocations.hasFailed()) return require(number > 10, "hardly an allocation met");
      require(closed == 0, "success without memory");
      require(static_cast<Errc>(C__zxfGetLastError(zxf)) == Errc::OutOfMemory, "another error");
      require(state() == Found::Old && isTidy(), "something was written without memory");
    }
  }

  // A writer that is freed before it is closed.
  void abandon(const Job& job) {
    setNamelessFiles(job.nameless);
    prepare(job);
    writeRecords(Zxf());
    require(state() == (job.replaces ? Found::Old : Found::Nothing) && isTidy(), "not given up");
  }

  // Kills a writer that works all the time at a random moment.
  void kill(int number, bool nameless) {
    setNamelessFiles(nameless);
    if (number % 2 == 0) fs::remove(target_);
    const bool wasThere = fs::exists(target_);
    const pid_t child = start([&]() -> int {
      for (bool isOld = true;; isOld = !isOld) writeContent(target_, isOld ? new_ : old_);
    });
    std::minstd_rand random(static_cast<unsigned>(number));
    usleep(static_cast<useconds_t>(random() % 4000));
    ::kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    require(WIFSIGNALED(status), "a failure before the kill");
    require(state() != Found::Nothing || !wasThere, "the file is gone");
    tryAgain({"", false, true, nameless});
  }

 private:
  enum class Found { Nothing, Old, New };

  void prepare(const Job& job) const {
    fs::remove(target_);
    if (!job.replaces) return;
    writeContent(target_, old_);
    fs::permissions(target_, fs::perms{0604});
  }

  void writeRecords(const Zxf& zxf) const {
    zxf.openWrite(target_);
    C__zxfUELRegisterRawStart(zxf);
    C__zxfUELRegisterRaw(zxf, "label");
    C__zxfUELRegisterDone(zxf);
    C__zxfDataWriteRawStart(zxf, "p", "", 1, 1, 0);
    const int key = 1;
    const double value = 1;
    C__zxfDataWriteRaw(zxf, &key, &value);
    C__zxfDataWriteDone(zxf);
  }

  // Fails when it is something else.
  Found state() const {
    if (!fs::exists(target_)) return Found::Nothing;
    const Content content = readContent(target_);
    require(content == old_ || content == new_, "the file is neither the old nor the new one");
    return content == new_ ? Found::New : Found::Old;
  }

  bool isTidy() const { return namesIn(folder_) == (fs::exists(target_) ? withTarget_ : others_); }

  // Does the job; gives the first error.
  Errc run(const Job& job) const {
    if (job.reads) {
      std::vector<int> errors;
      require(readContent(target_, errors, job.how) == old_ || !errors.empty(), "wrong content");
      return errors.empty() ? Errc::None : static_cast<Errc>(errors[0]);
    }
    try {
      writeContent(target_, new_);
      return Errc::None;
    } catch (const Refused& refused) {
      require(refused.error != 0, "a failure without a message");
      return static_cast<Errc>(refused.error);
    }
  }

  void requireDone(const Job& job) const {
    require(state() == (job.reads ? Found::Old : Found::New), "success, but not the new file");
    require(isTidy(), "left-overs");
    const fs::perms mode{job.replaces ? 0604U : 0640U};
    require(fs::status(target_).permissions() == mode, "another mode");
  }

  void tryAgain(const Job& job) const {
    if (job.replaces && fs::exists(target_)) fs::permissions(target_, fs::perms{0604});
    require(run(job) == Errc::None, "trying again fails");
    require(isTidy(), "left-overs after the next save");
  }

  int fail(const FaultKind& kind, int first, int count, const Job& job) const {
    const int descriptors = openDescriptors();
    Errc error = Errc::None;
    int injected = 0;
    bool isUnsafe = false;
    {
      const Allocations allocations;
      {
        const SystemFaults faults(kind, first, count);
        error = run(job);
        injected = faults.injected();
        isUnsafe = faults.hasFailed(Call::Write) || faults.hasFailed(Call::Sync);
      }
      require(allocations.liveBytes() <= 0, "a leak of memory");
    }
    require(openDescriptors() == descriptors, "a leak of descriptors");
    if (error == Errc::None) {
      require(!isUnsafe || kind.reported.empty(), "nothing said of what is not on the disk");
      requireDone(job);
      return injected;
    }
    if (!kind.reported.contains(error))
      throw std::runtime_error(Zxf().errorText(static_cast<int>(error)));
    require(state() != Found::Nothing || !job.replaces, "the old file is gone");
    require(isTidy(), "left-overs");
    return injected;
  }

  int die(const FaultKind& kind, int first, const Job& job) const {
    const pid_t child = start([&] {
      const SystemFaults faults(kind, first, 1);
      const bool isDone = run(job) == Errc::None;
      faults.losePower();
      return isDone ? 0 : 1;
    });
    int status = 0;
    waitpid(child, &status, 0);
    if (status == 0) {
      requireDone(job);
      return 0;
    }
    require(WIFEXITED(status) && WEXITSTATUS(status) == SystemFaults::kExitOfTheDead, "a failure");
    require(state() != Found::Nothing || !job.replaces, "the old file is gone");
    require(job.replaces || !job.nameless || isTidy(), "left-overs at once");
    return 1;
  }

  const TemporaryFolder folder_;
  const std::string target_ = folder_.path("a");
  const Content old_;
  const Content new_;
  const Zxf writing_;  // whose temporary file must stay
  std::vector<std::string> others_;
  std::vector<std::string> withTarget_;
};

int sweepAll(Bench& bench) {
  int total = 0;
  for (const FaultKind& kind : kKinds) {
    int ofKind = 0;
    for (const Job& job : kJobs) {
      for (const int count : {1, INT_MAX}) {
        if (count > 1 && (!kind.canLast || kind.isDeadly())) continue;
        try {
          ofKind += bench.sweep(kind, count, job);
        } catch (const std::exception& error) {
          throw std::runtime_error(std::string(kind.name) +
                                   (count > 1 ? " from a call on: " : ": ") + job.name + ": " +
                                   error.what());
        }
      }
    }
    require(ofKind > 0, "a kind of fault that met nothing");
    std::printf("%-30s %6d faults\n", kind.name, ofKind);
    total += ofKind;
  }
  return total;
}

}  // namespace

int main(int argc, char** argv) {
  const bool isSoak = argc > 1 && std::strcmp(argv[1], "--soak") == 0;
  try {
    umask(027);
    int faults = 0;
    const int kills = isSoak ? 1000 : 20;
    std::vector<fs::path> parents = {fs::temp_directory_path()};
    if (isSoak && fs::is_directory("/dev/shm")) parents.emplace_back("/dev/shm");
    for (const fs::path& parent : parents) {
      Bench bench(parent, isSoak ? 100000 : 10);
      faults += sweepAll(bench);
      for (const Job& job : kJobs) {
        bench.abandon(job);
        if (job.replaces && !job.reads) bench.starve(job);
      }
      for (int i = 0; i < kills; ++i) {
        bench.kill(i, true);
        bench.kill(i, false);
      }
    }
    std::printf("%d faults and %zu kills: the old or the new file was whole, nothing left over\n",
                faults, 2 * kills * parents.size());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
