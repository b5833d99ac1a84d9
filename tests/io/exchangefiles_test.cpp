// What a script cannot say of data exchange files: what the companion finds in them, and damage.
#include <sys/resource.h>

#include <csignal>

#include "loaders/zxf.h"
#include "support/client.h"
#include "support/files.h"
#include "zdbx.h"

namespace {

struct ExchangeFiles : testing::Test {
  zdb::test::TemporaryFolder folder;
  const std::string a = folder.path("a.zxf");
  const std::string b = folder.path("b.zxf");
  Database db;

  static std::string write(const Database& from, const std::string& file) {
    return from.said(c__zdbwritezxf(from, file.c_str(), 0));
  }
  static std::string open(const Database& to, const std::string& file) {
    return to.said(c__zdbinitfromzxf(to, file.c_str()));
  }
  static std::string close(const Database& of, int loadRemain) {
    return of.said(c__zdbclosezxf(of, loadRemain));
  }
};

TEST_F(ExchangeFiles, WhatOtherProgramsWrite_IsTakenAsFilesHaveIt) {
  db.add("e", 0, ZDB_EQUATION, ZDB_EQU_LESS);
  ASSERT_EQ(write(db, a), "");
  char text[ZDB_TEXT_SIZE];
  zdb::loaders::zxfRec* zxf = nullptr;
  ASSERT_EQ(zdb::loaders::zxfCreate(&zxf, text, sizeof text), 1);
  int number = 0;
  zdb::loaders::zxfOpenRead(zxf, a.c_str(), &number);
  EXPECT_EQ(zdb::loaders::zxfSymbolInfoX(zxf, 1, &number, &number, text), 1);
  EXPECT_EQ(number, ZDB_EQU_LESS + 53);
  zdb::loaders::zxfClose(zxf);
  // A domain's name is as long as hosts have room for, also in a file.
  for (const std::size_t length : {63, 64}) {
    const std::string name(length, 'd');
    const char* names[] = {name.c_str()};
    zdb::loaders::zxfOpenWrite(zxf, b.c_str(), "", &number);
    zdb::loaders::zxfDataWriteRawStart(zxf, "p", "", 1, ZDB_PARAMETER, 0);
    zdb::loaders::zxfDataWriteDone(zxf);
    EXPECT_EQ(zdb::loaders::zxfSymbolSetDomainX(zxf, 1, names), 1);
    zdb::loaders::zxfClose(zxf);
    Database read;
    EXPECT_EQ(open(read, b),
              length == 63 ? "" : "Domain name too long. Max length is 63: >" + name + "<");
  }
  zdb::loaders::zxfFree(&zxf);
}

TEST_F(ExchangeFiles, DamagedRecords_FailTheLoadWithAReason) {
  zdbSymbol_t p = db.add("p", 1);
  for (int n = 0; n < 1000; ++n) db.put(p, {("l" + std::to_string(n)).c_str()}, n / 7.0);
  ASSERT_EQ(write(db, a), "");
  const std::string reason = "Error reading symbol p from ZXF file " + b + ": Records in the file";
  int found = 0;
  for (std::size_t part = 1; part < 40; ++part) {
    std::string damaged = zdb::test::readFile(a);
    damaged[damaged.size() / 40 * part] ^= 0x20;
    Database read;
    if (part % 2 == 0) read.label("mine");
    if (!open(read, folder.write("b.zxf", damaged)).empty()) continue;  // it was not a record
    ++found;
    if (part % 4 < 2) {
      EXPECT_EQ(write(read, folder.path("c.zxf")), "Problems writing symbol p to ZXF");
      EXPECT_TRUE(std::string(zdbx_error_reason(read)).starts_with(reason));
      EXPECT_EQ(zdbx_error_kind(read), ZDBX_DAMAGED);
    } else {
      EXPECT_TRUE(close(read, 1).starts_with(reason)) << read.error();
      // What could be read is not what the file holds, so it must not take the place of the file.
      zdbSymbol_t damagedOne = nullptr;
      int count = 0;
      EXPECT_EQ(c__zdbfindsymbol(read, "p", &damagedOne), 1);
      EXPECT_EQ(c__zdbsymbolinfo(read, damagedOne, ZDB_SYMBOL_RECORDS, &count, nullptr, nullptr),
                0);
      EXPECT_TRUE(read.error().starts_with(reason)) << read.error();
      EXPECT_EQ(write(read, b), "Problems writing symbol p to ZXF");
      EXPECT_EQ(zdb::test::readFile(b), damaged);
      Database copy;
      EXPECT_TRUE(copy.said(c__zdbinitfromdb(copy, read)).starts_with(reason)) << copy.error();
      EXPECT_EQ(c__zdbclearsymbol(read, damagedOne), 1);
      EXPECT_EQ(write(read, b), "");
    }
  }
  EXPECT_GT(found, 3);
}

// The bytes of a symbol go to the disk when the next one is begun, or the file is closed.
TEST_F(ExchangeFiles, FullDisk_IsTheReasonOfTheFailure) {
  zdbSymbol_t p = db.add("p", 1);
  for (int n = 0; n < 60000; ++n) db.put(p, {("l" + std::to_string(n)).c_str()}, 1 / (n + 3.0));
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit whole{};
  getrlimit(RLIMIT_FSIZE, &whole);
  for (const char* next : {"", "b"}) {
    if (*next != '\0') db.add(next, 0);
    const rlimit limit{100000, whole.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    const std::string said = write(db, a);
    setrlimit(RLIMIT_FSIZE, &whole);
    const std::string full =
        "Not enough space for the file; an existing file is unchanged: File too large";
    EXPECT_EQ(said, *next == '\0' ? "1 ZXF Error(s). First Error: " + full
                                  : "Error writing symbol b to ZXF");
    EXPECT_EQ(zdbx_error_reason(db), full);
    EXPECT_EQ(zdbx_error_kind(db), ZDBX_SYSTEM);
    EXPECT_FALSE(std::filesystem::exists(a));
  }
}

}  // namespace
