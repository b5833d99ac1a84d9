// What happens to the target and its folder, however writing ends; what may be opened at all.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <random>

#include "support/starved.h"
#include "zxf/file.h"
#include "zxf_testing.h"

namespace {

mode_t modeBeforeLastChange = 0;

}  // namespace

// The linker's --wrap fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __real_fchmod(int fd, mode_t mode);
extern "C" int __wrap_fchmod(int fd, mode_t mode) {
  struct stat status;
  if (fstat(fd, &status) == 0) modeBeforeLastChange = status.st_mode & 07777;
  return __real_fchmod(fd, mode);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

using namespace zxftest;
using zdb::zxfile::OutputFile;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// Opens a file for writing and writes `count` random records; finish() reports what has failed.
void startNoise(const Zxf& zxf, const std::string& path, int count) {
  static const std::vector<std::string> labels = makeLabels(1000);
  zxf.openWrite(path);
  C__zxfUELRegisterRawStart(zxf);
  for (const std::string& label : labels) C__zxfUELRegisterRaw(zxf, label.c_str());
  C__zxfUELRegisterDone(zxf);
  C__zxfDataWriteRawStart(zxf, "noise", "", 2, 1, 0);
  std::mt19937_64 random(1);
  for (int i = 0; i < count; ++i) {
    const int key[] = {i / 1000 + 1, i % 1000 + 1};
    const double value = static_cast<double>(random() >> 11);
    C__zxfDataWriteRaw(zxf, key, &value);
  }
}

int finish(const Zxf& zxf) {
  C__zxfDataWriteDone(zxf);
  return C__zxfClose(zxf);
}

unsigned modeOf(const std::string& path) {
  return static_cast<unsigned>(fs::status(path).permissions());
}

// Runs work in a child process; returns what waitpid says of it.
int inChild(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

// A folder with the small content in "a".
class ZxfFiles : public testing::Test {
 protected:
  ZxfFiles() { writeContent(a_, smallContent()); }

  void expectUntouched() const {
    EXPECT_EQ(namesIn(folder_), Names{"a"});
    EXPECT_EQ(readContent(a_), smallContent());
  }

  const TemporaryFolder folder_;
  const std::string a_ = folder_.path("a");
};

TEST_F(ZxfFiles, InterruptedWriter_LeavesOldFileAndNoLitter) {
  for (const std::string& target : {a_, folder_.path("b")}) {
    inChild([&] {
      const Zxf killed;
      startNoise(killed, target, 500000);
      raise(SIGKILL);
    });
    expectUntouched();
    {
      const Zxf freed;
      startNoise(freed, target, 500000);
      const Zxf freedAfterTheSymbol;
      startNoise(freedAfterTheSymbol, target, 10);
      EXPECT_EQ(C__zxfDataWriteDone(freedAfterTheSymbol), 1);
    }
    expectUntouched();
  }
}

// A file size limit stands for a full disk: the same calls fail in the same places. The limits make
// the write fail among the records, in the directory, and in the last write of all.
TEST_F(ZxfFiles, NoSpace_IsReportedAndLeavesOldFile) {
  const TemporaryFolder whole;
  const Zxf sized;
  startNoise(sized, whole.path("a"), 200000);
  ASSERT_EQ(finish(sized), 1);
  const rlim_t size = fs::file_size(whole.path("a"));
  for (const rlim_t limit : {rlim_t{1000}, size / 2, size - 3000, size - 1}) {
    const int status = inChild([&] {
      signal(SIGXFSZ, SIG_IGN);
      const rlimit limits{limit, limit};
      setrlimit(RLIMIT_FSIZE, &limits);
      const Zxf zxf;
      startNoise(zxf, a_, 200000);
      EXPECT_EQ(finish(zxf), 0);
      EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::NoSpace)});
      EXPECT_EQ(C__zxfClose(zxf), 0);
      EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::NoFileOpen)});
    });
    EXPECT_EQ(status, 0) << "limit " << limit << " of " << size;
    expectUntouched();
  }
}

// Nobody but the first call that fails looks at the result, and closing must not publish the rest.
TEST_F(ZxfFiles, MemoryThatRunsOut_IsReportedAndLeavesOldFile) {
  startNoise(Zxf(), folder_.path("b"), 1);  // fetches what is fetched once
  bool hasFailed = true;
  for (std::uint64_t number = 1; hasFailed; ++number) {
    const Zxf zxf;
    const zdb::test::Allocations allocations(number);
    startNoise(zxf, a_, 2);
    const int closed = finish(zxf);
    hasFailed = allocations.hasFailed();
    if (!hasFailed) break;
    EXPECT_EQ(closed, 0) << number;
    EXPECT_EQ(C__zxfGetLastError(zxf), static_cast<int>(Errc::OutOfMemory)) << number;
    expectUntouched();
  }
}

TEST_F(ZxfFiles, MemoryThatRunsOut_LeavesNoNamedTemporary) {
  const auto write = [&] {
    OutputFile(a_.c_str(), OutputFile::Naming::Named).append(zdb::zxfile::Bytes(10));
    return true;
  };
  zdb::test::callStarved(write, [&](std::int64_t) { expectUntouched(); });
}

TEST_F(ZxfFiles, Target_KeepsModeAndLinks) {
  const mode_t before = umask(027);
  writeContent(folder_.path("new"), smallContent());
  umask(before);
  EXPECT_EQ(modeOf(folder_.path("new")), 0640U);
  ASSERT_EQ(chmod(a_.c_str(), 0604), 0);
  fs::create_symlink("a", folder_.path("link"));
  fs::create_symlink("absent", folder_.path("dangling"));
  writeContent(folder_.path("link"), {});
  writeContent(folder_.path("dangling"), smallContent());
  EXPECT_EQ(modeOf(a_), 0604U);
  EXPECT_EQ(readContent(a_), Content{});
  EXPECT_EQ(readContent(folder_.path("absent")), smallContent());
  EXPECT_TRUE(fs::is_symlink(folder_.path("link")));
  EXPECT_EQ(namesIn(folder_), (Names{"a", "absent", "dangling", "link", "new"}));
}

// What systems without nameless files get. Nobody may open it before it has its target's mode.
TEST_F(ZxfFiles, NamedTemporary_IsPrivateAndReplacesOrIsRemoved) {
  const std::vector<std::uint8_t> bytes(1000000, 7);
  ASSERT_EQ(chmod(a_.c_str(), 0604), 0);
  const mode_t before = umask(0);
  {
    OutputFile abandoned(a_.c_str(), OutputFile::Naming::Named);
    OutputFile file(a_.c_str(), OutputFile::Naming::Named);
    EXPECT_EQ(modeBeforeLastChange, 0600U);
    EXPECT_EQ(namesIn(folder_).size(), 3U);
    for (const std::size_t size : {10U, 1000000U}) {
      abandoned.append(zdb::zxfile::ByteSpan(bytes).first(size));
      file.append(zdb::zxfile::ByteSpan(bytes).first(size));
    }
    EXPECT_EQ(file.size(), 1000010U);
    EXPECT_EQ(readContent(a_), smallContent());
    file.publish();
    OutputFile(folder_.path("b").c_str(), OutputFile::Naming::Named).publish();
  }
  umask(before);
  EXPECT_EQ(namesIn(folder_), (Names{"a", "b"}));
  EXPECT_EQ(readBytes(a_), std::vector<std::uint8_t>(1000010, 7));
  EXPECT_EQ(modeOf(a_), 0604U);
  EXPECT_EQ(modeOf(folder_.path("b")), 0666U);
}

TEST_F(ZxfFiles, LeftOverOfKilledWriter_IsRemovedByNextInFolder) {
  const OutputFile alive(a_.c_str(), OutputFile::Naming::Named);
  folder_.write(".a.0123456789abcdef.tmp", "of somebody else");
  folder_.write(".a.0123456789abcdeg.zxf.tmp", "too");
  fs::create_directory(folder_.path(".b.0123456789abcdef.zxf.tmp"));
  fs::create_symlink("a", folder_.path(".c.0123456789abcdef.zxf.tmp"));
  const Names before = namesIn(folder_);
  inChild([&] {
    const OutputFile killed(a_.c_str(), OutputFile::Naming::Named);
    raise(SIGKILL);
  });
  EXPECT_EQ(namesIn(folder_).size(), before.size() + 1);
  writeContent(a_, smallContent());
  EXPECT_EQ(namesIn(folder_), before);
}

// Replacing needs rights on the folder only, so the file's own bits have to be asked.
TEST_F(ZxfFiles, WriteProtectedTarget_IsRefused) {
  ASSERT_EQ(chmod(a_.c_str(), 0444), 0);
  ASSERT_EQ(chmod(folder_.path().c_str(), 0777), 0);
  const int status = inChild([&] {
    constexpr uid_t kNobody = 65534;  // permissions do not bind the superuser
    if (geteuid() == 0) {
      EXPECT_EQ(setuid(kNobody), 0);
    }
    const Zxf zxf;
    EXPECT_EQ(zxf.openWrite(a_), static_cast<int>(Errc::CannotOpenFile));
    EXPECT_EQ(zxf.openWrite(folder_.path("b")), 0);
    EXPECT_EQ(C__zxfClose(zxf), 1);
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(namesIn(folder_), (Names{"a", "b"}));
}

TEST_F(ZxfFiles, FileThatShrinksWhileOpen_GivesAnError) {
  const Zxf zxf;
  startNoise(zxf, a_, 100000);
  ASSERT_EQ(finish(zxf), 1);
  ASSERT_EQ(zxf.openRead(a_), 0);
  int count = 0;
  ASSERT_EQ(C__zxfDataReadRawStart(zxf, 1, &count), 1);
  ASSERT_EQ(truncate(a_.c_str(), 200), 0);
  int key[2];
  double value = 0;
  int changed = 0;
  int read = 0;
  while (C__zxfDataReadRaw(zxf, key, &value, &changed) == 1) ++read;
  EXPECT_LT(read, count);
  EXPECT_EQ(C__zxfDataReadRaw(zxf, key, &value, &changed), 0) << "and does not say it again";
  EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::TruncatedFile)});
}

}  // namespace
