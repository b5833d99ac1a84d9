// Adding, finding, describing, copying symbols.

#include <string>

#include "client.h"

namespace {

TEST(AddSymbol, EachLimit_IsCheckedInOrder) {
  const std::string name63(63, 'n');
  const std::string text255(255, 't');
  const std::string invalid = "' is not a valid name for a ZARN symbol";
  const std::string dims = "Dimension must be greater or equal 0 and smaller or equal 20 (saw ";
  const struct {
    std::string name;
    int dim, type;
    std::string text;
    std::string message;  // empty: accepted
  } cases[] = {
      {"p", 0, ZDB_PARAMETER, "", ""},
      {"x_1", 20, ZDB_VARIABLE, text255, ""},
      {name63, 1, ZDB_SET, "", ""},
      {"e", 0, ZDB_EQUATION, "", ""},
      {"1x", 0, ZDB_SET, "", "Dimension must be greater than 0 for a Set"},
      {"1x", -1, ZDB_SET, "", dims + "-1)"},
      {"p", 21, ZDB_PARAMETER, "", dims + "21)"},
      {name63 + "n", 1, ZDB_SET, "", "'" + name63 + "n" + invalid},
      {"_x", 1, ZDB_SET, text255 + "t", "'_x" + invalid},
      {"1x", 1, ZDB_SET, "", "'1x" + invalid},
      {"", 1, ZDB_SET, "", "'" + invalid},
      {"x y", 1, ZDB_SET, "", "'x y" + invalid},
      {"p", 1, ZDB_SET, text255 + "t", "Explanatory text too long. Max length is 255"},
  };
  for (const auto& c : cases) {
    Database db;
    zdbSymbol_t symbol = nullptr;
    const int added =
        c__zdbaddsymbol(db, c.name.c_str(), c.dim, c.type, 0, c.text.c_str(), &symbol);
    EXPECT_EQ(added, c.message.empty() ? 1 : 0) << c.name << " " << c.dim;
    EXPECT_EQ(db.error(), c.message);
    EXPECT_EQ(symbol != nullptr, c.message.empty());
    if (symbol == nullptr) continue;
    EXPECT_EQ(db.infoText(symbol, ZDB_SYMBOL_NAME), c.name);
    EXPECT_EQ(db.infoText(symbol, ZDB_SYMBOL_TEXT), c.text);
  }
}

TEST(AddSymbol, NameTaken_IsRefusedWhateverItsCase) {
  Database db;
  db.add("Food", 1, ZDB_SET);
  zdbSymbol_t symbol = db.universe();
  EXPECT_EQ(c__zdbaddsymbol(db, "FOOD", 1, ZDB_SET, 0, "", &symbol), 0);
  EXPECT_EQ(symbol, nullptr);
  EXPECT_EQ(db.error(), "Symbol FOOD exists already");
}

// The X form reports success even then: callers look at the handle.
TEST(AddSymbolX, EachRefusedDomain_GivesANullHandleAndAMessage) {
  Database db;
  Database other;
  zdbSymbol_t pairs = db.add("pairs", 2, ZDB_SET);
  zdbSymbol_t parameter = db.add("par", 1);
  zdbSymbol_t foreign = other.add("foreign", 1, ZDB_SET);
  const struct {
    const char* name;
    int dim;
    zdbSymbol_t domain;
    const char* message;
  } cases[] = {
      {"par", 1, db.universe(), "Symbol par exists already"},
      {"q", 1, pairs, "1 <> Dim of Symbol pairs"},
      {"q", 1, parameter, "Symbol par not a set/alias"},
      {"q", 1, foreign, "Symbol foreign not in this database"},
      {"q", 1, other.universe(), "Universe from different database"},
      {"q", 21, db.universe(),
       "Dimension must be greater or equal 0 and smaller or equal 20 (saw 21)"},
      {"q", -1, db.universe(),
       "Dimension must be greater or equal 0 and smaller or equal 20 (saw -1)"},
  };
  for (const auto& c : cases) {
    const std::vector<zdbSymbol_t> domains(21, c.domain);
    zdbSymbol_t symbol = parameter;
    EXPECT_EQ(
        c__zdbaddsymbolx(db, c.name, c.dim, ZDB_PARAMETER, 0, "", domains.data(), nullptr, &symbol),
        1);
    EXPECT_EQ(symbol, nullptr) << c.message;
    EXPECT_EQ(db.error(), c.message);
    int status = -1;
    EXPECT_EQ(c__zdbaddsymbolxpy(db, c.name, c.dim, ZDB_PARAMETER, 0, "", domains.data(), nullptr,
                                 &status),
              nullptr);
    EXPECT_EQ(status, 1);
  }
  zdbSymbol_t symbol = parameter;
  EXPECT_EQ(c__zdbaddsymbolx(db, "1q", 1, ZDB_SET, 0, "", &foreign, nullptr, &symbol), 0);
  EXPECT_EQ(symbol, nullptr);
}

TEST(Domains, SymbolsAliasesNamesAndTheUniverse_ReadBackAsGiven) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  zdbSymbol_t alias = db.add("a", 1, ZDB_ALIAS, db.info(set, ZDB_SYMBOL_NUMBER));
  zdbSymbol_t foreignUniverse = db.universe();
  const zdbSymbol_t domains[] = {set, alias, nullptr, nullptr, foreignUniverse};
  const char* names[] = {nullptr, nullptr, "later", "*", nullptr};
  zdbSymbol_t symbol;
  ASSERT_EQ(c__zdbaddsymbolx(db, "p", 5, ZDB_SET, 0, "", domains, names, &symbol), 1);
  ASSERT_NE(symbol, nullptr) << db.error();
  // An alias reports the domains of its set, also where the two have different dims.
  zdbSymbol_t wide = db.add("w", 5, ZDB_ALIAS, db.info(symbol, ZDB_SYMBOL_NUMBER));
  zdbSymbol_t tooWide = db.add("w6", 6, ZDB_ALIAS, db.info(symbol, ZDB_SYMBOL_NUMBER));
  const char* expected[] = {"s", "a", "later", "*", "*", "*"};
  const zdbSymbol_t expectedHandles[] = {set,           set,           nullptr,
                                         db.universe(), db.universe(), db.universe()};
  for (zdbSymbol_t asked : {symbol, wide, tooWide}) {
    char text[6][ZDB_TEXT_SIZE];
    char* rows[] = {text[0], text[1], text[2], text[3], text[4], text[5]};
    zdbSymbol_t read[6];
    ASSERT_EQ(c__zdbgetdomain(db, asked, 0, read, rows), 1) << "the slot count is not looked at";
    for (int i = 0; i < db.info(asked, ZDB_SYMBOL_DIM); ++i) {
      EXPECT_STREQ(rows[i], expected[i]) << i;
      EXPECT_EQ(read[i], expectedHandles[i]) << i;
    }
  }
  EXPECT_EQ(c__zdbgetdomain(db, db.add("c", 0), 0, nullptr, nullptr), 1);
  EXPECT_EQ(c__zdbgetdomain(db, db.universe(), 1, nullptr, nullptr), 0);
  EXPECT_EQ(db.error(), "The Universe has no domain");
}

TEST(FindSymbol, Aliases_ResolveOrNot) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  zdbSymbol_t parameter = db.add("p", 1);
  zdbSymbol_t ofSet = db.add("a", 1, ZDB_ALIAS, db.info(set, ZDB_SYMBOL_NUMBER));
  zdbSymbol_t ofParameter = db.add("b", 1, ZDB_ALIAS, db.info(parameter, ZDB_SYMBOL_NUMBER));
  const struct {
    const char* name;
    zdbSymbol_t resolved, itself;
  } cases[] = {{"S", set, set},
               {"a", set, ofSet},
               {"b", db.universe(), ofParameter},
               {"*", db.universe(), db.universe()},
               {"none", nullptr, nullptr}};
  for (const auto& c : cases) {
    zdbSymbol_t symbol = nullptr;
    EXPECT_EQ(c__zdbfindsymbol(db, c.name, &symbol), c.resolved != nullptr ? 1 : 0);
    EXPECT_EQ(symbol, c.resolved) << c.name;
    EXPECT_EQ(c__zdbfindsymbolwithalias(db, c.name, &symbol), c.itself != nullptr ? 1 : 0);
    EXPECT_EQ(symbol, c.itself) << c.name;
  }
  EXPECT_EQ(db.error(), "Cannot find symbol none");
}

TEST(SymbolAt, NumbersCountAliasesAndIndicesDoNot) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  zdbSymbol_t alias = db.add("a", 1, ZDB_ALIAS, 0);
  zdbSymbol_t last = db.add("p", 0);
  const auto byNumber = [&](int number) {
    zdbSymbol_t symbol = set;
    const int result = c__zdbgetsymbolbynumber(db, number, &symbol);
    EXPECT_EQ(result, symbol != nullptr ? 1 : 0);
    return symbol;
  };
  const auto byIndex = [&](int index) {
    zdbSymbol_t symbol = set;
    const int result = c__zdbgetsymbolbyindex(db, index, &symbol);
    EXPECT_EQ(result, symbol != nullptr ? 1 : 0);
    return symbol;
  };
  EXPECT_EQ(byNumber(-1), db.universe());
  EXPECT_EQ(byNumber(1), alias);
  EXPECT_EQ(byNumber(2), last);
  EXPECT_EQ(byNumber(3), nullptr);
  EXPECT_EQ(byIndex(-1), db.universe());
  EXPECT_EQ(byIndex(0), set);
  EXPECT_EQ(byIndex(1), last);
  EXPECT_EQ(byIndex(2), nullptr);
  EXPECT_EQ(byIndex(-2), nullptr);
  EXPECT_EQ(db.error(), "Symbol index -2 is out of range");
}

TEST(SymbolInfo, EachKey_OfSymbolAliasAndUniverse) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET, 42);
  zdbSymbol_t alias = db.add("a", 1, ZDB_ALIAS, 0);
  db.merge(set, {"x"});
  db.label("y");
  const struct {
    zdbSymbol_t symbol;
    int dim, type, records, userInfo, number;
  } cases[] = {{set, 1, ZDB_SET, 1, 42, 0},
               {alias, 1, ZDB_ALIAS, 0, 0, 1},
               {db.universe(), 1, ZDB_SET, 2, 0, -1}};
  for (const auto& c : cases) {
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_DIM), c.dim);
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_TYPE), c.type);
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_RECORDS), c.records);
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_USER_INFO), c.userInfo);
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_NUMBER), c.number);
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_WRITTEN), 0);
    EXPECT_EQ(db.info(c.symbol, ZDB_SYMBOL_STORAGE), ZDB_STORAGE_MAP);
    int value = 0;
    EXPECT_EQ(c__zdbsymboldim(db, c.symbol, &value), 1);
    EXPECT_EQ(value, c.dim);
    EXPECT_EQ(c__zdbsymboltype(db, c.symbol, &value), 1);
    EXPECT_EQ(value, c.type);
  }
  EXPECT_EQ(db.infoText(db.universe(), ZDB_SYMBOL_NAME), "*");
  EXPECT_EQ(db.infoText(db.universe(), ZDB_SYMBOL_TEXT), "universe");
  int value = 5;
  char text[ZDB_TEXT_SIZE] = "untouched";
  for (int key : {-1, 9}) {
    EXPECT_EQ(c__zdbsymbolinfo(db, set, key, &value, nullptr, text), 0);
    EXPECT_EQ(db.error(), "No valid infoKey, saw " + std::to_string(key));
  }
  EXPECT_EQ(value, 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(c__zdbsymboldim(db, nullptr, &value), 0);
  EXPECT_EQ(value, -1);
}

TEST(Universe, Changing_IsRefused) {
  Database db;
  EXPECT_EQ(c__zdbsetuserinfo(db, db.universe(), 1), 0);
  EXPECT_EQ(db.error(), "Cannot set UserInfo of Universe");
  EXPECT_EQ(c__zdbclearsymbol(db, db.universe()), 0);
  EXPECT_EQ(db.error(), "Cannot clear the Universe");
}

TEST(WriteRecording, Changes_MarkTheirSymbol) {
  Database db;
  zdbSymbol_t first = db.add("p0", 1);
  zdbSymbol_t second = db.add("p1", 1);
  EXPECT_EQ(c__zdbstopwriterecording(db), 0);
  EXPECT_EQ(c__zdbstartwriterecording(db), 1);
  EXPECT_EQ(c__zdbstartwriterecording(db), 0);
  EXPECT_EQ(db.error(), "Write Recording already active");
  const auto marked = [&](zdbSymbol_t symbol) { return db.info(symbol, ZDB_SYMBOL_WRITTEN) == 1; };
  EXPECT_TRUE(marked(db.add("new", 1)));
  EXPECT_FALSE(marked(second));
  c__zdbsetuserinfo(db, second, 7);
  EXPECT_TRUE(marked(second));
  c__zdbclearsymbol(db, first);
  EXPECT_TRUE(marked(first));
  c__zdbstopwriterecording(db);
  EXPECT_FALSE(marked(db.add("later", 1)));
}

TEST(CopySymbol, BetweenDatabases_MatchesLabelsByText) {
  Database from;
  Database to;
  zdbSymbol_t source = from.add("p", 2);
  to.label("b");
  zdbSymbol_t target = to.add("p", 2);
  zdbSymbol_t set = to.add("s", 2, ZDB_SET);
  Record record(from, source, {"a", "b"});
  c__zdbsetlevel(from, record, 4.5);
  ASSERT_EQ(c__zdbcopysymbol(to, target, source), 1) << to.error();
  ASSERT_EQ(c__zdbcopysymbol(to, set, source), 1) << to.error();
  Record copied(to);
  const char* key[] = {"A", "B"};
  EXPECT_EQ(c__zdbfindrecord(to, target, key, &copied), 1) << to.error();
  EXPECT_EQ(copied.level(), 4.5);
  EXPECT_EQ(to.info(set, ZDB_SYMBOL_RECORDS), 1);
  EXPECT_EQ(c__zdbcopysymbol(to, target, to.add("q", 1)), 0);
  EXPECT_EQ(to.error(), "Inconsistent symbol dimensions");
  EXPECT_EQ(c__zdbcopysymbol(to, target, to.add("x", 2, ZDB_VARIABLE)), 0);
  EXPECT_EQ(to.error(), "Inconsistent symbol types");
  EXPECT_EQ(c__zdbcopysymbol(to, nullptr, source), 0);
  EXPECT_EQ(to.error(), "No target symbol handle specified");
}

TEST(ForeignSymbol, IsRefusedWhereItsLabelsWouldBeMisread) {
  Database db;
  Database other;
  zdbSymbol_t foreign = other.add("p", 1);
  zdbSymbol_t variable = foreign;
  Record record(db);
  const char* key[] = {"a"};
  EXPECT_EQ(c__zdbmergerecord(db, foreign, key, &record), 0);
  EXPECT_EQ(db.error(), "Symbol p not in this database");
  EXPECT_EQ(c__zdbselectrecordstorage(db, &variable, ZDB_STORAGE_MAP), 0);
  EXPECT_EQ(c__zdbfindfirstrecord(db, other.universe(), &record), 0);
}

TEST(Storage, KnownAndUnknown) {
  Database db;
  zdbSymbol_t symbol = db.add("p", 1);
  zdbSymbol_t variable = symbol;
  int status = -1;
  EXPECT_EQ(c__zdbselectrecordstorage(db, &variable, ZDB_STORAGE_MAP), 1);
  EXPECT_EQ(variable, symbol);
  EXPECT_EQ(c__zdbselectrecordstoragepy(db, symbol, ZDB_STORAGE_MAP, &status), symbol);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, ZDB_STORAGE_MAP), 1);
  for (int unknown : {-1, 3, 99}) {
    const std::string message = "zdbSelectRecordStorage: record storage " +
                                std::to_string(unknown) +
                                " is unknown; use 0 (map), 1 (vector) or 2 (tree)";
    EXPECT_EQ(c__zdbselectrecordstorage(db, &variable, unknown), 0);
    EXPECT_EQ(db.error(), message);
    EXPECT_EQ(variable, symbol) << "the handle stays";
    EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, unknown), 0);
    EXPECT_EQ(db.error(), message);
    EXPECT_EQ(c__zdbselectrecordstoragepy(db, symbol, unknown, &status), nullptr);
    EXPECT_EQ(status, 0);
    int defaultStorage = -1;
    c__zdbinfo(db, ZDB_INFO_DEFAULT_STORAGE, &defaultStorage, nullptr, nullptr);
    EXPECT_EQ(defaultStorage, ZDB_STORAGE_MAP);
  }
}

}  // namespace
