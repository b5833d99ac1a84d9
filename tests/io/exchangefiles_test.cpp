// Databases that are written to data exchange files and read from them.
#include "loaders/zxf.h"
#include "support/contents.h"
#include "support/files.h"

namespace {

struct ExchangeFiles : testing::Test {
  testsupport::TemporaryFolder folder;
  const std::string file = folder.path("a.zxf");

  static int write(const Database& db, const std::string& to, int noDomainCheck = 0) {
    return c__zdbwritezxf(db, to.c_str(), noDomainCheck);
  }
  static int open(const Database& db, const std::string& from) {
    return c__zdbinitfromzxf(db, from.c_str());
  }
  static bool isAttached(const Database& db) {
    int attached = -1;
    c__zdbinfo(db, ZDB_INFO_SOURCE_ATTACHED, &attached, nullptr, nullptr);
    return attached == 1;
  }
  /// Every type, alias, kind of domain and special value; user information of aliases as files
  /// have it.
  static void fill(const Database& db) {
    zdbSymbol_t all = db.universe();
    zdbSymbol_t food = add(db, "food", ZDB_SET, 0, {all}, "what is eaten");
    Record flour(db, food, {"Wheat Flour"});
    c__zdbsetelemtext(db, flour, "10 lb.");
    db.merge(food, {"tea"});
    zdbSymbol_t alias = add(db, "f", ZDB_ALIAS, 0, {all});
    c__zdbsetuserinfo(db, alias, 1);
    c__zdbsetuserinfo(db, add(db, "anything", ZDB_ALIAS, 99, {all}), 0);
    zdbSymbol_t pair = add(db, "pair", ZDB_SET, 0, {food, all});
    Record milk(db, pair, {"tea", "milk"});
    c__zdbsetelemtext(db, milk, "10 LB.");
    zdbSymbol_t p = add(db, "p", ZDB_PARAMETER, 7, {alias, nullptr}, "odd", "pair");
    const char* labels[] = {"undef", "na", "pinf", "minf", "eps"};
    double special[ZDB_SV_COUNT];
    c__zdbgetuserspecialvalues(db, special);
    for (int i = 0; i < ZDB_SV_COUNT; ++i) put(db, p, {"tea", labels[i]}, special[i]);
    put(db, add(db, "s", ZDB_PARAMETER, 0, {}), {}, 2.5);
    put(db, add(db, "x", ZDB_VARIABLE, 3, {food}), {"tea"}, -1.25);
    put(db, add(db, "e", ZDB_EQUATION, 2, {}), {}, 12);
    add(db, "empty", ZDB_PARAMETER, 0, {food, nullptr}, "", "elsewhere");
  }
};

TEST_F(ExchangeFiles, RoundTrip_KeepsEverythingButTheHostsSpecialValues) {
  Database db;
  fill(db);
  const double own[ZDB_SV_COUNT] = {91, 92, 93, 94, 95};
  Database translating;
  c__zdbsetspecialvalues(translating, own);
  fill(translating);
  for (const int storage : {0, 1, 2}) {
    ASSERT_EQ(write(storage == 1 ? translating : db, file, storage == 2 ? 1 : 0), 1);
    Database read;
    c__zdbselectrecordstorage(read, nullptr, storage);
    ASSERT_EQ(open(read, file), 1) << read.error();
    EXPECT_EQ(describe(read), describe(db));
    EXPECT_EQ(read.info(symbolOf(read, "x"), ZDB_SYMBOL_STORAGE), storage);
    // The set behind the alias is known as a domain.
    int found = -1;
    read.merge(symbolOf(read, "p"), {"milk", "na"});
    EXPECT_EQ(c__zdbchecksymboldv(read, symbolOf(read, "p"), &found), 1);
    EXPECT_EQ(found, 1);
  }
}

TEST_F(ExchangeFiles, RecordsOfAnOpenFile_AreReadWhenTheyAreUsedOrTheFileIsClosed) {
  Database db;
  fill(db);
  ASSERT_EQ(write(db, file), 1);
  const std::string used = records(db, symbolOf(db, "x"));
  for (const int loadRemain : {0, 1}) {
    Database read;
    ASSERT_EQ(open(read, file), 1);
    EXPECT_EQ(records(read, symbolOf(read, "x")), used);
    ASSERT_EQ(write(read, folder.path("b.zxf")), 1) << "which loads nothing";
    EXPECT_TRUE(isAttached(read));
    ASSERT_EQ(c__zdbclosezxf(read, loadRemain), 1) << read.error();
    EXPECT_FALSE(isAttached(read));
    EXPECT_EQ(records(read, symbolOf(read, "x")), used);
    EXPECT_EQ(records(read, symbolOf(read, "s")),
              loadRemain == 1 ? " =2.5" : "Symbol s not initialized from ZXF or ZMI: 3");
    Database copy;
    ASSERT_EQ(open(copy, folder.path("b.zxf")), 1);
    EXPECT_EQ(describe(copy), describe(db));
  }
  EXPECT_EQ(c__zdbclosezxf(db, 1), 0);
  EXPECT_EQ(db.error(), "Database not initialized from ZXF");
}

TEST_F(ExchangeFiles, WritingOverTheOpenFile_LoadsAndClosesItFirst) {
  for (const char* name : {"a.zxf", "A.ZXF"}) {
    Database db;
    fill(db);
    ASSERT_EQ(write(db, file), 1);
    Database read;
    ASSERT_EQ(open(read, file), 1);
    ASSERT_EQ(write(read, folder.path(name)), 1) << read.error();
    EXPECT_FALSE(isAttached(read));
    EXPECT_EQ(describe(read), describe(db));
    Database again;
    ASSERT_EQ(open(again, folder.path(name)), 1);
    EXPECT_EQ(describe(again), describe(db));
  }
}

TEST_F(ExchangeFiles, Refusals_SayWhy) {
  const std::string foreign = folder.write("foreign.zxf", "an exchange file by name only");
  const std::string missing = folder.path("missing.zxf");
  Database filled;
  fill(filled);
  ASSERT_EQ(write(filled, file), 1);
  Database opened;
  ASSERT_EQ(open(opened, file), 1);
  Database never;
  Database unlabelled;
  const int key = 77;
  const double one = 1;
  c__zdbmergerecordint(unlabelled, unlabelled.add("p", 1), &key, 0, 0, nullptr, 1, &one);
  const std::string again = "Database has been initialized, cannot initialize from ";
  const struct {
    const Database& db;
    bool isRead;
    std::string file;
    std::string message;  ///< its beginning
    bool isAttached;
  } cases[] = {
      {opened, true, "b.zxf", again + "b.zxf", true},
      {filled, true, file, again + file, false},
      {never, true, missing, "Error opening ZXF file: The file cannot be opened", true},
      {never, true, file, again + file, true},
      {filled, false, folder.path("no/b.zxf"), "The new file cannot be created", false},
      {unlabelled, false, missing, "1 ZXF Error(s). First Error: There is no label", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.isRead ? open(c.db, c.file) : write(c.db, c.file), 0) << c.message;
    EXPECT_EQ(c.db.error().substr(0, c.message.size()), c.message);
    EXPECT_EQ(isAttached(c.db), c.isAttached);
  }
  EXPECT_TRUE(filled.error() != "" && c__zdbclosezxf(never, 1) == 1 && !isAttached(never));
  EXPECT_EQ(describe(opened), describe(filled));
  Database other;
  EXPECT_EQ(open(other, foreign), 0);
  EXPECT_EQ(other.error().rfind("Error opening ZXF file: This is not a zxf file", 0), 0u);
}

/// Every case is written twice: the second time the names of domains have become symbols, even of a
/// set that comes after, which the file does not know yet.
TEST_F(ExchangeFiles, Domains_AreCheckedWhereTheyAreSymbolsThatTheFileKnows) {
  const std::string one = "1 ZXF Error(s). First Error: ";
  const std::string outside = "A record lies outside its domain";
  const struct {
    const char* domain;
    int strays;       ///< records of p outside of i and later
    int otherStrays;  ///< records of q, whose domain is i
    int noDomainCheck;
    std::string message;  ///< its beginning; empty: written
    const char* domains;
  } cases[] = {
      {"i", 0, 0, 0, "", " i *"},
      {"i", 1, 0, 0, one + outside, " i *"},
      {"i", 2, 1, 0, "3 ZXF Error(s). First Error: " + outside, " i *"},
      {"I", 1, 1, 1, "", " i *"},
      {"ii", 1, 0, 0, one + outside, " ii *"},
      {"pairs", 1, 0, 0, "", " pairs? *"},
      {"number", 1, 0, 0, "", " number? *"},
      {"unknown", 1, 0, 0, "", " unknown? *"},
      {"*", 1, 0, 0, "", " * *"},
      {"later", 1, 0, 0, "", " later *"},
      {"later", 1, 1, 0, one + outside, " later *"},
  };
  for (const auto& c : cases) {
    Database db;
    zdbSymbol_t all = db.universe();
    zdbSymbol_t i = add(db, "i", ZDB_SET, 0, {all});
    db.merge(i, {"a"});
    add(db, "ii", ZDB_ALIAS, 0, {all});
    add(db, "pairs", ZDB_SET, 0, {i, all});
    add(db, "number", ZDB_PARAMETER, 0, {all});
    zdbSymbol_t p = add(db, "p", ZDB_PARAMETER, 0, {nullptr, all}, "", c.domain);
    zdbSymbol_t q = add(db, "q", ZDB_PARAMETER, 0, {nullptr}, "", "i");
    db.merge(add(db, "later", ZDB_SET, 0, {all}), {"a"});
    db.merge(p, {"a", "b"});
    for (int n = 0; n < c.strays; ++n) db.merge(p, {n == 0 ? "b" : "c", "b"});
    for (int n = 0; n < c.otherStrays; ++n) db.merge(q, {"b"});
    ASSERT_EQ(write(db, file), 1) << db.error();
    for (const bool isLoaded : {false, true}) {
      Database read;
      ASSERT_EQ(open(read, file), 1);
      EXPECT_EQ(domains(read, symbolOf(read, "p")), c.domains);
      const std::string before = isLoaded ? describe(read) : "";
      EXPECT_EQ(write(read, folder.path("b.zxf"), c.noDomainCheck), c.message.empty() ? 1 : 0);
      EXPECT_EQ(read.error().substr(0, c.message.size()), c.message) << c.domain;
      Database again;
      ASSERT_EQ(open(again, folder.path("b.zxf")), 1) << "written even if it fails";
      EXPECT_EQ(domains(again, symbolOf(again, "p")), c.domains);
      if (c.message.empty() && isLoaded) {
        EXPECT_EQ(describe(again), before);
      }
    }
  }
}

TEST_F(ExchangeFiles, LabelsThatTheDatabaseHas_RenumberTheRecords) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  const char* const keys[][2] = {{"a", "b"}, {"b", "a"}, {"c", "d"}, {"d", "c"}};
  for (const auto& key : keys) put(db, p, {key[0], key[1]}, key[0][0]);
  ASSERT_EQ(write(db, file), 1);
  for (const bool isLoaded : {true, false}) {
    Database read;
    for (const char* label : {"d", "mine", "B"}) read.label(label);
    ASSERT_EQ(open(read, file), 1) << read.error();
    const std::string expected = " d.c=100 B.a=98 a.B=97 c.d=99";
    if (isLoaded) {
      EXPECT_EQ(records(read, symbolOf(read, "p")), expected);
    }
    ASSERT_EQ(write(read, folder.path("b.zxf")), 1) << read.error();
    EXPECT_EQ(records(read, symbolOf(read, "p")), expected);
    Database copy;
    ASSERT_EQ(open(copy, folder.path("b.zxf")), 1);
    EXPECT_EQ(records(copy, symbolOf(copy, "p")), expected);
  }
}

TEST_F(ExchangeFiles, DamagedRecords_FailTheLoadWithAReason) {
  Database db;
  zdbSymbol_t p = db.add("p", 1);
  for (int n = 0; n < 1000; ++n) put(db, p, {("l" + std::to_string(n)).c_str()}, n / 7.0);
  ASSERT_EQ(write(db, file), 1);
  const std::string whole = testsupport::readFile(file);
  int damagedRecords = 0;
  for (std::size_t at = 64; at < whole.size(); at += whole.size() / 40) {
    std::string damaged = whole;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x20);
    Database read;
    if (open(read, folder.write("b.zxf", damaged)) == 0) continue;  // it was no record
    const std::string reason =
        "Error reading symbol p from ZXF file " + folder.path("b.zxf") + ": Records in the file";
    EXPECT_EQ(records(read, symbolOf(read, "p")).substr(0, reason.size()), reason);
    ++damagedRecords;
  }
  EXPECT_GT(damagedRecords, 0);
}

TEST_F(ExchangeFiles, CompanionThatIsMissing_IsReported) {
  Database db;
  zdbfree(&db.handle);
  ASSERT_EQ(zdb::loaders::zxfLibraryUnload(), 1);
  ASSERT_EQ(zdbcreated(&db.handle, "/nowhere", nullptr, 0), 1);
  const std::string reason = "ZXF create did not succeed: Could not load shared library /nowhere/";
  for (int attempt = 0; attempt < 3; ++attempt) {
    zdbSymbol_t none = nullptr;
    if (attempt > 0) {
      EXPECT_EQ(c__zdbfindsymbol(db, "none", &none), 0) << "which leaves a message";
    }
    EXPECT_EQ(attempt == 0 ? 0 : attempt == 1 ? open(db, file) : write(db, file), 0);
    EXPECT_EQ(db.error().substr(0, reason.size()), reason);
    EXPECT_FALSE(isAttached(db));
  }
}

TEST_F(ExchangeFiles, Trace_ShowsTheSteps) {
  Database db;
  fill(db);
  ASSERT_EQ(write(db, file), 1);
  const struct {
    int level;
    std::vector<const char*> shown;
    const char* hidden;
  } cases[] = {
      {0, {}, "----"},
      {1, {"---- Entering InitFromZXF ----", "strings done", "---- Leaving"}, "Get uel"},
      {2, {"using special values from ZDB", "string: 10 lb.", "loaded: tea", "created: pair"}, "?"},
  };
  for (const auto& c : cases) {
    Database read;
    const std::string trace = outputOf([&] {
      c__zdbsetdebug(nullptr, c.level);
      open(read, file);
      c__zdbsetdebug(nullptr, 0);
    });
    for (const char* text : c.shown) EXPECT_NE(trace.find(text), std::string::npos) << text;
    EXPECT_EQ(trace.find(c.hidden), std::string::npos) << c.hidden;
  }
}

}  // namespace
