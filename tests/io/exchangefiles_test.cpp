// Databases that are written to data exchange files and read from them.
#include <algorithm>
#include <array>

#include "loaders/zxf.h"
#include "support/contents.h"
#include "support/files.h"

namespace {

/// A database with every type, alias, text, kind of domain and special value, in a file. Aliases
/// have the user information that they have in files.
struct ExchangeFiles : testing::Test {
  testsupport::TemporaryFolder folder;
  const std::string a = folder.path("a.zxf");
  const std::string b = folder.path("b.zxf");
  Database filled;
  Database db;  ///< for the test

  ExchangeFiles() {
    fill(filled);
    EXPECT_EQ(write(filled, a), "");
  }
  static std::string write(const Database& from, const std::string& file, int noDomainCheck = 0) {
    return said(from, c__zdbwritezxf(from, file.c_str(), noDomainCheck));
  }
  static std::string open(const Database& to, const std::string& file) {
    return said(to, c__zdbinitfromzxf(to, file.c_str()));
  }
  static std::string close(const Database& of, int loadRemain) {
    return said(of, c__zdbclosezxf(of, loadRemain));
  }
  static void fill(const Database& to) {
    zdbSymbol_t all = to.universe();
    zdbSymbol_t food = add(to, "food", ZDB_SET, 0, {all}, "what is eaten");
    c__zdbsetelemtext(to, Record(to, food, {"Wheat Flour"}), "10 lb.");
    to.merge(food, {"tea"});
    zdbSymbol_t alias = add(to, "f", ZDB_ALIAS, 0, {all});
    c__zdbsetuserinfo(to, alias, 1);
    c__zdbsetuserinfo(to, add(to, "anything", ZDB_ALIAS, 99, {all}), 0);
    zdbSymbol_t pair = add(to, "pair", ZDB_SET, 0, {food, all});
    c__zdbsetelemtext(to, Record(to, pair, {"tea", "milk"}), "10 LB.");
    zdbSymbol_t p = add(to, "p", ZDB_PARAMETER, 7, {alias, nullptr}, "odd", "pair");
    const char* labels[] = {"undef", "na", "pinf", "minf", "eps"};
    double special[ZDB_SV_COUNT];
    c__zdbgetuserspecialvalues(to, special);
    for (int i = 0; i < ZDB_SV_COUNT; ++i) put(to, p, {"tea", labels[i]}, special[i]);
    put(to, add(to, "s", ZDB_PARAMETER, 0, {}), {}, 2.5);
    put(to, add(to, "x", ZDB_VARIABLE, 3, {food}), {"tea"}, -1.25);
    put(to, add(to, "e", ZDB_EQUATION, 2, {}), {}, 12);
    add(to, "empty", ZDB_PARAMETER, 0, {food, nullptr}, "", "elsewhere");
  }
};

/// All but the special values of the host; records are read when they are used, when the file is
/// closed with that wish, or when it is written over.
TEST_F(ExchangeFiles, RoundTrip_KeepsEverything) {
  c__zdbsetspecialvalues(db, std::array{91.0, 92.0, 93.0, 94.0, 95.0}.data());
  fill(db);
  const std::string content = describe(filled);
  for (int round = 0; round < 4; ++round) {
    ASSERT_EQ(write(round == 1 ? db : filled, a, round / 2), "");
    Database read;
    c__zdbselectrecordstorage(read, nullptr, round % 3);
    ASSERT_EQ(open(read, a), "");
    EXPECT_EQ(read.info(symbolOf(read, "x"), ZDB_SYMBOL_STORAGE), round % 3);
    EXPECT_EQ(open(read, b), "Database has been initialized, cannot initialize from " + b);
    EXPECT_EQ(records(read, "x"), " tea=-1.25/0/0/inf/1");
    ASSERT_EQ(write(read, b), "") << "which loads nothing";
    const std::string over = round == 2 ? a : folder.path("A.ZXF");
    EXPECT_EQ(round < 2 ? close(read, round) : write(read, over), "");
    EXPECT_EQ(close(read, 1), "Database not initialized from ZXF");
    EXPECT_EQ(records(read, "x"), " tea=-1.25/0/0/inf/1");
    EXPECT_EQ(records(read, "s"),
              round == 0 ? "Symbol s not initialized from ZXF or ZMI: 3" : " =2.5");
    EXPECT_EQ(records(read, "s"), round == 0 ? "" : " =2.5") << "nothing was left by writing";
    Database again;
    ASSERT_EQ(open(again, round < 2 ? b : over), "");
    EXPECT_EQ(describe(again), content);
    // The set behind the alias is known as a domain.
    int found = -1;
    again.merge(symbolOf(again, "p"), {"milk", "na"});
    EXPECT_EQ(said(again, c__zdbchecksymboldv(again, symbolOf(again, "p"), &found)), "");
    EXPECT_EQ(found, 1);
  }
}

TEST_F(ExchangeFiles, WhatOtherProgramsWrite_IsTakenAsFilesHaveIt) {
  char text[ZDB_TEXT_SIZE];
  zdb::loaders::zxfRec* zxf = nullptr;
  ASSERT_EQ(zdb::loaders::zxfCreate(&zxf, text, sizeof text), 1);
  int number = 0;
  zdb::loaders::zxfOpenRead(zxf, a.c_str(), &number);
  EXPECT_EQ(zdb::loaders::zxfSymbolInfoX(zxf, 8, &number, &number, text), 1);
  EXPECT_EQ(number, 55);
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

TEST_F(ExchangeFiles, FileThatCannotBeReadOrWritten_IsReportedWithTheReason) {
  EXPECT_TRUE(open(db, b).starts_with("Error opening ZXF file: The file cannot be opened"));
  EXPECT_EQ(open(db, a), "Database has been initialized, cannot initialize from " + a);
  EXPECT_EQ(close(db, 1), "") << "the file is the source all the same";
  Database other;
  const std::string text = folder.write("text.zxf", "an exchange file by name only");
  EXPECT_TRUE(open(other, text).starts_with("Error opening ZXF file: This is not a zxf file"));
  const int key = 77;
  const double one = 1;
  c__zdbmergerecordint(db, db.add("p", 1), &key, 0, 0, nullptr, 1, &one);
  EXPECT_TRUE(write(db, b).starts_with("1 ZXF Error(s). First Error: There is no label"));
  const std::string message = write(db, b + "/b");
  EXPECT_TRUE(message.starts_with("The new file cannot be created in the folder")) << message;
  EXPECT_TRUE(message.ends_with(": " + b + "/b")) << message;
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

TEST_F(ExchangeFiles, LabelsThatTheDatabaseHas_RenumberTheRecords) {
  zdbSymbol_t p = db.add("p", 2);
  for (const Labels& key : {Labels{"a", "b"}, {"b", "a"}, {"c", "d"}, {"d", "c"}}) {
    put(db, p, key, *key[0]);
  }
  ASSERT_EQ(write(db, a), "");
  const std::string expected = " d.c=100 B.a=98 a.B=97 c.d=99";
  for (const bool isLoaded : {true, false}) {
    Database read;
    for (const char* label : {"d", "mine", "B"}) read.label(label);
    ASSERT_EQ(open(read, a), "");
    EXPECT_EQ(isLoaded ? records(read, "p") : expected, expected);
    ASSERT_EQ(write(read, b), "");
    ASSERT_EQ(close(read, 0), "");
    EXPECT_EQ(records(read, "p"),
              isLoaded ? expected : "Symbol p not initialized from ZXF or ZMI: 3");
    Database copy;
    ASSERT_EQ(open(copy, b), "");
    EXPECT_EQ(records(copy, "p"), expected);
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
      // What could be read is not what the file holds, so it must not take the place of the file.
      EXPECT_TRUE(records(read, "p").starts_with(reason)) << records(read, "p");
      EXPECT_EQ(write(read, b), "Problems writing symbol p to ZXF");
      EXPECT_EQ(testsupport::readFile(b), damaged);
      Database copy;
      EXPECT_TRUE(said(copy, c__zdbinitfromdb(copy, read)).starts_with(reason)) << copy.error();
      EXPECT_EQ(said(read, c__zdbclearsymbol(read, symbolOf(read, "p"))), "");
      EXPECT_EQ(write(read, b), "");
    }
  }
  EXPECT_GT(found, 3);
}

TEST_F(ExchangeFiles, CompanionThatIsMissing_IsReported) {
  for (Database* of : {&filled, &db}) zdbfree(&of->handle);
  ASSERT_EQ(zdb::loaders::zxfLibraryUnload(), 1);
  ASSERT_EQ(zdbcreated(&db.handle, "/nowhere", nullptr, 0), 1);
  const char* reason = "ZXF create did not succeed: Could not load shared library /nowhere/";
  EXPECT_TRUE(db.error().starts_with(reason)) << db.error();
  EXPECT_EQ(close(db, 1), "Database not initialized from ZXF");
  EXPECT_TRUE(open(db, a).starts_with(reason)) << db.error();
  EXPECT_EQ(close(db, 1), "Database not initialized from ZXF");
  EXPECT_TRUE(write(db, a).starts_with(reason)) << db.error();
}

TEST_F(ExchangeFiles, Trace_ShowsTheSteps) {
  const std::vector<const char*> steps = {"\n  ---- Entering InitFromZXF ----",
                                          "\n  loading strings\n",
                                          "strings done",
                                          "---- Leaving InitFromZXF ----",
                                          "Get uel",
                                          "special values from ZDB",
                                          "\n    reading string: 10 lb.",
                                          "created: pair"};
  for (const auto& [level, shown] : {std::pair(0, 0), std::pair(1, 4), std::pair(2, 8)}) {
    Database read;
    const std::string trace = outputOf([&, level = level] {
      c__zdbsetdebug(nullptr, level);
      open(read, a);
      c__zdbsetdebug(nullptr, 0);
    });
    const auto isShown = [&](const char* step) { return trace.find(step) != std::string::npos; };
    EXPECT_EQ(std::count_if(steps.begin(), steps.end(), isShown), shown) << trace;
  }
}

}  // namespace
