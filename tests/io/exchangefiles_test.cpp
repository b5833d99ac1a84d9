// Databases that are written to data exchange files and read from them: domains, damage, and what
// is not there.
#include "loaders/zxf.h"
#include "support/contents.h"
#include "support/files.h"

namespace {

struct ExchangeFiles : testing::Test {
  testsupport::TemporaryFolder folder;
  const std::string a = folder.path("a.zxf");
  const std::string b = folder.path("b.zxf");
  Database db;

  static std::string write(const Database& from, const std::string& file, int noDomainCheck = 0) {
    return said(from, c__zdbwritezxf(from, file.c_str(), noDomainCheck));
  }
  static std::string open(const Database& to, const std::string& file) {
    return said(to, c__zdbinitfromzxf(to, file.c_str()));
  }
  static std::string close(const Database& of, int loadRemain) {
    return said(of, c__zdbclosezxf(of, loadRemain));
  }
};

TEST_F(ExchangeFiles, SubtypeOfAnEquation_IsCountedFrom53InFiles) {
  add(db, "e", ZDB_EQUATION, 2, {});
  ASSERT_EQ(write(db, a), "");
  char text[ZDB_TEXT_SIZE];
  zdb::loaders::zxfRec* zxf = nullptr;
  ASSERT_EQ(zdb::loaders::zxfCreate(&zxf, text, sizeof text), 1);
  int number = 0;
  zdb::loaders::zxfOpenRead(zxf, a.c_str(), &number);
  EXPECT_EQ(zdb::loaders::zxfSymbolInfoX(zxf, 1, &number, &number, text), 1);
  EXPECT_EQ(number, 55);
  zdb::loaders::zxfFree(&zxf);
}

/// Every case is written twice: the second time the names of domains have become symbols, even of a
/// set that comes after, which the file does not know yet.
TEST_F(ExchangeFiles, Domains_AreCheckedWhereTheyAreSymbolsThatTheFileKnows) {
  const std::string outside = " ZXF Error(s). First Error: A record lies outside its domain";
  const struct {
    const char* domain;
    std::string labels;  ///< of records of p; i and later have a only
    int strays;          ///< records of q, whose domain is i
    int noDomainCheck;
    std::string message;  ///< its beginning; empty: written
    const char* domains;
  } cases[] = {
      {"i", "a", 0, 0, "", " i *"},
      {"i", "ab", 0, 0, "1" + outside, " i *"},
      {"i", "bc", 1, 0, "3" + outside, " i *"},
      {"I", "b", 1, 1, "", " i *"},
      {"ii", "b", 0, 0, "1" + outside, " ii *"},
      {"pairs", "b", 0, 0, "", " pairs? *"},
      {"number", "b", 0, 0, "", " number? *"},
      {"unknown", "b", 0, 0, "", " unknown? *"},
      {"*", "b", 0, 0, "", " * *"},
      {"later", "b", 0, 0, "", " later *"},
      {"later", "b", 1, 0, "1" + outside, " later *"},
  };
  for (const auto& c : cases) {
    Database own;
    zdbSymbol_t all = own.universe();
    zdbSymbol_t i = add(own, "i", ZDB_SET, 0, {all});
    own.merge(i, {"a"});
    add(own, "ii", ZDB_ALIAS, 0, {all});
    add(own, "pairs", ZDB_SET, 0, {i, all});
    own.add("number", 1);
    zdbSymbol_t p = add(own, "p", ZDB_PARAMETER, 0, {nullptr, all}, "", c.domain);
    zdbSymbol_t q = add(own, "q", ZDB_PARAMETER, 0, {nullptr}, "", "i");
    own.merge(add(own, "later", ZDB_SET, 0, {all}), {"a"});
    for (const char label : c.labels) own.merge(p, {std::string(1, label).c_str(), "b"});
    if (c.strays != 0) own.merge(q, {"b"});
    ASSERT_EQ(write(own, a), "");
    for (const bool isLoaded : {false, true}) {
      Database read;
      ASSERT_EQ(open(read, a), "");
      const std::string before = isLoaded ? describe(read) : "";
      const std::string message = write(read, b, c.noDomainCheck);
      EXPECT_EQ(message.empty(), c.message.empty());
      EXPECT_EQ(message.substr(0, c.message.size()), c.message) << c.domain;
      Database again;
      ASSERT_EQ(open(again, b), "") << "written even if it fails";
      for (const Database* of : {&read, &again})
        EXPECT_EQ(domains(*of, symbolOf(*of, "p")), c.domains);
      EXPECT_TRUE(!message.empty() || !isLoaded || describe(again) == before) << c.domain;
    }
  }
}

TEST_F(ExchangeFiles, DamagedRecords_FailTheLoadWithAReason) {
  zdbSymbol_t p = db.add("p", 1);
  for (int n = 0; n < 1000; ++n) put(db, p, {("l" + std::to_string(n)).c_str()}, n / 7.0);
  ASSERT_EQ(write(db, a), "");
  const std::string reason = "Error reading symbol p from ZXF file " + b + ": Records in the file";
  int found = 0;
  for (std::size_t part = 1; part < 40; ++part) {
    std::string damaged = testsupport::readFile(a);
    damaged[damaged.size() / 40 * part] ^= 0x20;
    Database read;
    if (part % 2 == 0) read.label("mine");
    if (!open(read, folder.write("b.zxf", damaged)).empty()) continue;  // it was no record
    ++found;
    if (part % 4 < 2) {
      EXPECT_EQ(write(read, folder.path("c.zxf")), "Problems writing symbol p to ZXF");
    } else {
      EXPECT_TRUE(close(read, 1).starts_with(reason)) << read.error();
      EXPECT_EQ(close(read, 1), "") << "it was still open";
    }
  }
  EXPECT_GT(found, 3);
}

TEST_F(ExchangeFiles, CompanionThatIsMissing_IsReported) {
  zdbfree(&db.handle);
  ASSERT_EQ(zdb::loaders::zxfLibraryUnload(), 1);
  ASSERT_EQ(zdbcreated(&db.handle, "/nowhere", nullptr, 0), 1);
  const char* reason = "ZXF create did not succeed: Could not load shared library /nowhere/";
  EXPECT_TRUE(db.error().starts_with(reason)) << db.error();
  EXPECT_EQ(close(db, 1), "Database not initialized from ZXF");
  EXPECT_TRUE(open(db, a).starts_with(reason)) << db.error();
  EXPECT_EQ(close(db, 1), "Database not initialized from ZXF");
  EXPECT_TRUE(write(db, a).starts_with(reason)) << db.error();
}

}  // namespace
