// Data exchange files in memory and through descriptors.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "support/client.h"
#include "support/files.h"
#include "zdbx.h"

namespace {

namespace fs = std::filesystem;

struct Descriptors : testing::Test {
  zdb::test::TemporaryFolder folder;
  Database db;
  const std::ptrdiff_t openBefore = openNow();

  Descriptors() { db.put(db.add("p", 1), {"a"}, 7); }
  ~Descriptors() override { EXPECT_EQ(openNow(), openBefore); }

  static std::ptrdiff_t openNow() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  }
  static std::string bytesOf(zdbHandle_t from) {
    void* bytes = nullptr;
    size_t count = 0;
    EXPECT_EQ(zdbx_write_memory(from, 0, &bytes, &count), 1) << zdbx_error_text(from);
    std::string copy(static_cast<const char*>(bytes), count);
    zdbx_free_bytes(bytes);
    return copy;
  }
  int file(const std::string& content) const {
    return open(folder.write("file", content).c_str(), O_RDWR);
  }
};

TEST_F(Descriptors, Files_AreWhatOnesWithNamesAre) {
  const std::string path = folder.path("named");
  ASSERT_EQ(c__zdbwritezxf(db, path.c_str(), 0), 1);
  const std::string content = bytesOf(db);
  EXPECT_EQ(content, zdb::test::readFile(path));
  // From the place of the descriptor, over what is there.
  const int fd = file("abc" + std::string(9999, '-'));
  lseek(fd, 3, SEEK_SET);
  EXPECT_EQ(db.said(zdbx_write_fd(db, fd, 0)), "");
  EXPECT_EQ(lseek(fd, 0, SEEK_CUR), std::ssize(content) + 3);
  close(fd);
  EXPECT_EQ(zdb::test::readFile(folder.path("file")),
            "abc" + content + std::string(9999 - content.size(), '-'));
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  fcntl(ends[1], F_SETPIPE_SZ, 4096);
  for (int n = 0; n < 9999; ++n) db.label(std::to_string(n).c_str());
  std::string read;
  std::thread reader([&] {
    char part[999];
    for (ssize_t got; (got = ::read(ends[0], part, sizeof part)) > 0;) read.append(part, got);
  });
  EXPECT_EQ(db.said(zdbx_write_fd(db, ends[1], 0)), "");
  close(ends[1]);
  reader.join();
  close(ends[0]);
  EXPECT_EQ(read, bytesOf(db));
}

// The records are read when the caller's bytes and descriptor are gone.
TEST_F(Descriptors, Sources_StayOpenAndGoWithTheDatabase) {
  std::string content = bytesOf(db);
  const int fd = file(content);
  fs::remove(folder.path("file"));
  lseek(fd, 5, SEEK_SET);
  Database fromFile;
  Database fromMemory;
  EXPECT_EQ(fromFile.said(zdbx_init_from_fd(fromFile, fd)), "");
  EXPECT_EQ(fromMemory.said(zdbx_init_from_memory(fromMemory, content.data(), content.size())), "");
  EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 5);
  content.assign(content.size(), '-');
  // What it has not read yet is read before its own file is written over.
  fromFile.label("new");
  lseek(fd, 0, SEEK_SET);
  EXPECT_EQ(fromFile.said(zdbx_write_fd(fromFile, fd, 0)), "");
  close(fd);
  for (const Database* each : {&fromFile, &fromMemory}) {
    zdbSymbol_t p = nullptr;
    EXPECT_EQ(c__zdbfindsymbol(*each, "p", &p), 1);
    EXPECT_EQ(each->info(p, ZDB_SYMBOL_RECORDS), 1) << each->error();
    EXPECT_NE(zdbx_init_from_memory(*each, "", 0), 1);
  }
}

TEST_F(Descriptors, Refusals_SayWhichAndWhy) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int full = open("/dev/full", O_WRONLY);
  const std::string number = std::to_string(full);
  Database read;
  EXPECT_EQ(read.said(zdbx_init_from_fd(read, full)),
            "Descriptor " + number + " is not open for reading: Bad file descriptor");
  EXPECT_EQ(
      db.said(zdbx_write_fd(db, ends[0], 0)),
      "Descriptor " + std::to_string(ends[0]) + " is not open for writing: Bad file descriptor");
  EXPECT_EQ(db.said(zdbx_write_fd(db, full, 0)),
            "Cannot write to descriptor " + number + ": No space left on device");
  EXPECT_STREQ(zdbx_error_reason(db), "No space left on device");
  EXPECT_EQ(zdbx_error_kind(db), ZDBX_SYSTEM);
  EXPECT_NE(zdbx_init_from_fd(read, ends[0]), 1);
  EXPECT_EQ(zdbx_error_kind(read), ZDBX_SYSTEM);
  close(ends[0]);
  EXPECT_EQ(db.said(zdbx_write_fd(db, ends[1], 0)),  // and the process lives
            "Cannot write to descriptor " + std::to_string(ends[1]) + ": Broken pipe");
  close(ends[1]);
  close(full);
  Database damaged;
  EXPECT_NE(zdbx_init_from_memory(damaged, "rubbish", 7), 1);
  EXPECT_EQ(zdbx_error_kind(damaged), ZDBX_DAMAGED);
}

}  // namespace
