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

#include "zxf/file.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;
namespace fs = std::filesystem;

// Writes `count` records of noise; returns how many were taken.
int writeNoise(const Zxf& zxf, int count) {
  C__zxfUELRegisterRawStart(zxf);
  for (const std::string& label : makeLabels(1000)) C__zxfUELRegisterRaw(zxf, label.c_str());
  C__zxfUELRegisterDone(zxf);
  C__zxfDataWriteRawStart(zxf, "noise", "", 2, 1, 0);
  int taken = 0;
  std::uint64_t random = 1;
  for (int i = 0; i < count; ++i) {
    random = random * 6364136223846793005 + 1442695040888963407;
    const int key[] = {i / 1000 + 1, i % 1000 + 1};
    const double value = static_cast<double>(random >> 11);
    taken += C__zxfDataWriteRaw(zxf, key, &value);
  }
  return taken;
}

unsigned modeOf(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
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

// Each way to end a writer before its file is in place.
TEST(ZxfFiles, InterruptedWriter_LeavesOldFileAndNoLitter) {
  const struct {
    const char* name;
    std::function<void(const std::string& target)> interrupt;
  } kWays[] = {
      {"killed",
       [](const std::string& target) {
         inChild([&] {
           const Zxf zxf;
           if (zxf.openWrite(target) == 0) writeNoise(zxf, 500000);
           raise(SIGKILL);
         });
       }},
      {"freed",
       [](const std::string& target) {
         const Zxf zxf;
         EXPECT_EQ(zxf.openWrite(target), 0);
         EXPECT_EQ(writeNoise(zxf, 500000), 500000);
       }},
      {"freedAfterDone",
       [](const std::string& target) {
         const Zxf zxf;
         EXPECT_EQ(zxf.openWrite(target), 0);
         EXPECT_EQ(writeNoise(zxf, 10), 10);
         EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
       }},
  };
  for (const auto& way : kWays) {
    for (const bool existed : {true, false}) {
      SCOPED_TRACE(way.name);
      const ScratchFolder folder;
      if (existed) writeContent(folder.path("a"), smallContent());
      way.interrupt(folder.path("a"));
      EXPECT_EQ(folder.names(),
                existed ? std::vector<std::string>{"a"} : std::vector<std::string>{});
      if (existed) {
        EXPECT_TRUE(readContent(folder.path("a")) == smallContent());
      }
      writeContent(folder.path("a"), smallContent());
      EXPECT_EQ(folder.names(), std::vector<std::string>{"a"});
    }
  }
}

// A file size limit stands for a full disk: the same calls fail in the same places. The limits make
// the write fail among the records, in the directory, and in the last write of all.
TEST(ZxfFiles, NoSpace_IsReportedAndLeavesOldFile) {
  const ScratchFolder sizes;
  {
    const Zxf zxf;
    ASSERT_EQ(zxf.openWrite(sizes.path("a")), 0);
    writeNoise(zxf, 200000);
    C__zxfDataWriteDone(zxf);
    ASSERT_EQ(C__zxfClose(zxf), 1);
  }
  const rlim_t size = fs::file_size(sizes.path("a"));
  for (const rlim_t limit : {rlim_t{1000}, size / 2, size - 3000, size - 1}) {
    const ScratchFolder folder;
    writeContent(folder.path("a"), smallContent());
    const int status = inChild([&] {
      signal(SIGXFSZ, SIG_IGN);
      const rlimit limits{limit, limit};
      setrlimit(RLIMIT_FSIZE, &limits);
      const Zxf zxf;
      EXPECT_EQ(zxf.openWrite(folder.path("a")), 0);
      writeNoise(zxf, 200000);
      C__zxfDataWriteDone(zxf);
      EXPECT_EQ(C__zxfClose(zxf), 0);
      EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::NoSpace)});
      EXPECT_EQ(C__zxfClose(zxf), 0);
      EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::NoFileOpen)});
    });
    EXPECT_EQ(status, 0) << "limit " << limit << " of " << size;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a"});
    EXPECT_TRUE(readContent(folder.path("a")) == smallContent());
  }
}

TEST(ZxfFiles, Target_IsUnchangedUntilClose) {
  const ScratchFolder folder;
  writeContent(folder.path("a"), smallContent());
  const Zxf reader;
  ASSERT_EQ(reader.openRead(folder.path("a")), 0);
  const Zxf zxf;
  ASSERT_EQ(zxf.openWrite(folder.path("a")), 0);
  writeNoise(zxf, 20000);
  EXPECT_TRUE(readContent(folder.path("a")) == smallContent());
  EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
  EXPECT_EQ(C__zxfClose(zxf), 1);
  EXPECT_EQ(readContent(folder.path("a")).symbols[0].name, "noise");
  // A reader that was open keeps the old file.
  int count = 0;
  EXPECT_EQ(C__zxfDataReadRawStart(reader, 2, &count), 1);
  EXPECT_EQ(count, 3);
}

TEST(ZxfFiles, Target_KeepsModeAndLinks) {
  const ScratchFolder folder;
  const mode_t before = umask(027);
  writeContent(folder.path("new"), smallContent());
  umask(before);
  EXPECT_EQ(modeOf(folder.path("new")), 0640U);
  ASSERT_EQ(chmod(folder.path("new").c_str(), 0604), 0);
  fs::create_symlink("new", folder.path("link"));
  fs::create_symlink("absent", folder.path("dangling"));
  writeContent(folder.path("link"), smallContent());
  writeContent(folder.path("dangling"), smallContent());
  EXPECT_EQ(modeOf(folder.path("new")), 0604U);
  EXPECT_TRUE(fs::is_symlink(folder.path("link")));
  EXPECT_TRUE(readContent(folder.path("absent")) == smallContent());
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"absent", "dangling", "link", "new"}));
}

TEST(ZxfFiles, NamedTemporary_IsReplacedOrRemovedAndInNobodysWay) {
  const ScratchFolder folder;
  const std::vector<std::uint8_t> bytes(1000000, 7);
  writeBytes(folder.path("a"), {1, 2, 3});
  ASSERT_EQ(chmod(folder.path("a").c_str(), 0604), 0);
  {
    zxfile::OutputFile abandoned(folder.path("a").c_str(), zxfile::OutputFile::Naming::Named);
    zxfile::OutputFile file(folder.path("a").c_str(), zxfile::OutputFile::Naming::Named);
    EXPECT_EQ(folder.names().size(), 3U);
    for (const zxfile::ByteSpan part :
         {zxfile::ByteSpan(bytes).first(10), zxfile::ByteSpan(bytes)}) {
      abandoned.append(part);
      file.append(part);
    }
    EXPECT_EQ(file.size(), 1000010U);
    EXPECT_EQ(readBytes(folder.path("a")).size(), 3U);
    file.publish();
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"a"});
  EXPECT_EQ(readBytes(folder.path("a")), std::vector<std::uint8_t>(1000010, 7));
  EXPECT_EQ(modeOf(folder.path("a")), 0604U);
}

TEST(ZxfFiles, RelativeTarget_SurvivesChangeOfFolder) {
  const ScratchFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder.path(""));
  const Zxf zxf;
  EXPECT_EQ(zxf.openWrite("a"), 0);
  fs::current_path(before);
  EXPECT_EQ(C__zxfClose(zxf), 1);
  EXPECT_TRUE(readContent(folder.path("a")) == Content{});
}

TEST(ZxfFiles, WhatIsNoRegularFile_IsRefused) {
  const ScratchFolder folder;
  fs::create_directory(folder.path("folder"));
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  const std::string longName(300, 'x');
  const struct {
    std::string path;
    Errc reading;
    Errc writing;
  } kCases[] = {
      {folder.path("absent"), Errc::CannotOpenFile, Errc::None},
      {folder.path("folder"), Errc::NotRegularFile, Errc::NotRegularFile},
      {folder.path("pipe"), Errc::NotRegularFile, Errc::NotRegularFile},
      {"/dev/null", Errc::NotRegularFile, Errc::NotRegularFile},
      {folder.path("no/such"), Errc::CannotOpenFile, Errc::CannotCreateFile},
      {folder.path("folder/"), Errc::NotRegularFile, Errc::CannotOpenFile},
      {"", Errc::CannotOpenFile, Errc::CannotOpenFile},
  };
  for (const auto& c : kCases) {
    const Zxf zxf;
    EXPECT_EQ(zxf.openRead(c.path), static_cast<int>(c.reading)) << c.path;
    EXPECT_EQ(zxf.openWrite(c.path), static_cast<int>(c.writing)) << c.path;
  }
  // Some systems notice the length when the file gets its name only; the folder is clean either
  // way.
  const Zxf zxf;
  if (zxf.openWrite(folder.path(longName)) == 0) {
    EXPECT_EQ(C__zxfClose(zxf), 0);
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"folder", "pipe"}));
}

// Replacing needs rights on the folder only, so the file's own bits have to be asked.
TEST(ZxfFiles, WriteProtectedTarget_IsRefused) {
  const ScratchFolder folder;
  writeContent(folder.path("a"), smallContent());
  ASSERT_EQ(chmod(folder.path("a").c_str(), 0444), 0);
  ASSERT_EQ(chmod(folder.path("").c_str(), 0777), 0);
  const int status = inChild([&] {
    constexpr uid_t kNobody = 65534;  // permissions do not bind the superuser
    if (geteuid() == 0) {
      EXPECT_EQ(setuid(kNobody), 0);
    }
    const Zxf zxf;
    EXPECT_EQ(zxf.openWrite(folder.path("a")), static_cast<int>(Errc::CannotOpenFile));
    EXPECT_EQ(zxf.openWrite(folder.path("b")), 0);
    EXPECT_EQ(C__zxfClose(zxf), 1);
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a", "b"}));
}

TEST(ZxfFiles, FileThatShrinksWhileOpen_GivesAnError) {
  const ScratchFolder folder;
  {
    const Zxf zxf;
    ASSERT_EQ(zxf.openWrite(folder.path("a")), 0);
    writeNoise(zxf, 100000);
    C__zxfDataWriteDone(zxf);
    ASSERT_EQ(C__zxfClose(zxf), 1);
  }
  const Zxf zxf;
  ASSERT_EQ(zxf.openRead(folder.path("a")), 0);
  int count = 0;
  ASSERT_EQ(C__zxfDataReadRawStart(zxf, 1, &count), 1);
  ASSERT_EQ(truncate(folder.path("a").c_str(), 200), 0);
  int key[2];
  double values[5];
  int changed = 0;
  int read = 0;
  while (C__zxfDataReadRaw(zxf, key, values, &changed) == 1) ++read;
  EXPECT_LT(read, count);
  EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::TruncatedFile)});
}

}  // namespace
