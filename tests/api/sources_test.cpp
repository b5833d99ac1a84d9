// Databases filled from another database and through callbacks of the host.

#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/contents.h"

namespace {

/// Sets with texts, aliases, every type and kind of domain.
void fill(const Database& db) {
  for (const char* label : {"unused", "c", "b", "a"}) db.label(label);
  zdbSymbol_t i = add(db, "i", ZDB_SET, 7, {db.universe()}, "a set");
  zdbSymbol_t ii = db.add("ii", 1, ZDB_ALIAS, 0);
  db.add("all", 1, ZDB_ALIAS, 99);
  const struct {
    const char* label;
    const char* text;
  } members[] = {{"a", "first"}, {"b", ""}, {"c", "FIRST"}};
  for (const auto& member : members) {
    Record record(db, i, {member.label});
    c__zdbsetelemtext(db, record, member.text);
  }
  zdbSymbol_t k = add(db, "k", ZDB_SET, 0, {db.universe()});
  db.merge(k, {"a"});
  zdbSymbol_t kk = db.add("kk", 1, ZDB_ALIAS, db.info(k, ZDB_SYMBOL_NUMBER));
  zdbSymbol_t pairs = add(db, "pairs", ZDB_SET, 0, {kk, i});
  Record pair(db, pairs, {"a", "b"});
  c__zdbsetelemtext(db, pair, "second");
  zdbSymbol_t x =
      add(db, "x", ZDB_VARIABLE, 9, {ii, nullptr, i, db.universe()}, "positions of all kinds");
  db.merge(x, {"b", "z", "a", "unused"});
  db.merge(x, {"a", "z", "b", "unused"});
  zdbSymbol_t e = add(db, "e", ZDB_EQUATION, 2, {i});
  db.merge(e, {"c"});
  zdbSymbol_t scalar = add(db, "scalar", ZDB_PARAMETER, 3, {});
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(c__zdbaddrecordraw(db, scalar, nullptr, &infinity, nullptr), 1) << db.error();
  add(db, "none", ZDB_PARAMETER, 0, {i});
}

class Copies : public testing::TestWithParam<std::tuple<int, int>> {};

INSTANTIATE_TEST_SUITE_P(Storages, Copies,
                         testing::Combine(testing::Range(0, 3), testing::Range(0, 3)));

TEST_P(Copies, Database_IsWholeAndStandsAlone) {
  const auto [from, to] = GetParam();
  Database copy;
  c__zdbselectrecordstorage(copy, nullptr, to);
  std::string expected;
  {
    Database source;
    c__zdbselectrecordstorage(source, nullptr, from);
    fill(source);
    expected = describe(source);
    ASSERT_EQ(c__zdbinitfromdb(copy, source), 1) << copy.error();
    EXPECT_EQ(describe(source), expected);
  }
  EXPECT_EQ(describe(copy), expected);
  zdbSymbol_t i = nullptr;
  zdbSymbol_t pairs = nullptr;
  c__zdbfindsymbol(copy, "i", &i);
  c__zdbfindsymbol(copy, "pairs", &pairs);
  EXPECT_EQ(copy.info(i, ZDB_SYMBOL_STORAGE), to);
  // The sets are known as domains, the one behind an alias too, and texts that are new are new.
  copy.merge(pairs, {"z", "y"});
  zdbDV_t violation = nullptr;
  int positions[] = {-1, -1};
  ASSERT_EQ(c__zdbgetfirstdvinsymbol(copy, pairs, &violation), 1);
  ASSERT_NE(violation, nullptr);
  EXPECT_EQ(c__zdbgetdvindicator(copy, violation, positions), 1);
  EXPECT_EQ(positions[0] * 10 + positions[1], 11);
  c__zdbfreedvhandle(copy, violation);
  Record record(copy, i, {"b"});
  c__zdbsetelemtext(copy, record, "third");
  EXPECT_EQ(records(copy, i), " c=first b=third a=first");
  EXPECT_EQ(records(copy, pairs), " a.b=second z.y=");
}

/// A name for a file, which goes at the end.
struct File {
  std::string name = (std::filesystem::temp_directory_path() /
                      ("zdb_sources_" + std::to_string(::getpid()) + ".zxf"))
                         .string();
  ~File() { std::filesystem::remove(name); }
};

bool hasFiles() {
  Database db;
  return db.error().empty();
}

TEST_P(Copies, SymbolsThatAreStillInAFile_AreLoadedFirst) {
  if (!hasFiles()) GTEST_SKIP() << "no library for data exchange files";
  const auto [from, to] = GetParam();
  File file;
  Database original;
  fill(original);
  ASSERT_EQ(c__zdbwritezxf(original, file.name.c_str(), 0), 1) << original.error();
  Database copy;
  c__zdbselectrecordstorage(copy, nullptr, to);
  {
    Database source;
    c__zdbselectrecordstorage(source, nullptr, from);
    ASSERT_EQ(c__zdbinitfromzxf(source, file.name.c_str()), 1) << source.error();
    ASSERT_EQ(c__zdbinitfromdb(copy, source), 1) << copy.error();
    std::filesystem::remove(file.name);
    EXPECT_EQ(describe(source), describe(copy));
  }
  for (const char* name : {"i", "pairs", "x", "e", "scalar", "none"}) {
    zdbSymbol_t symbol = nullptr;
    zdbSymbol_t before = nullptr;
    EXPECT_EQ(c__zdbfindsymbol(copy, name, &symbol), 1);
    EXPECT_EQ(c__zdbfindsymbol(original, name, &before), 1);
    EXPECT_EQ(describe(copy, symbol), describe(original, before));
  }
}

TEST(CopyOfDatabase, TargetThatIsNotEmpty_IsRefused) {
  Database source;
  fill(source);
  Database labels;
  labels.label("a");
  Database symbols;
  symbols.add("p", 1);
  Database both;
  fill(both);
  const struct {
    zdbHandle_t target;
    zdbHandle_t source;
    const char* message;
  } cases[] = {
      {labels, source, "Uels present. Cannot load Uels from other database."},
      {symbols, source, "Symbols present. Cannot load symbols from other database."},
      {both, source, "Uels present. Cannot load Uels from other database."},
      {both, both, "Uels present. Cannot load Uels from other database."},
      {symbols, nullptr, "zdbInitFromDB: argument source must not be null"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c__zdbinitfromdb(c.target, c.source), 0);
    char text[ZDB_TEXT_SIZE];
    c__zdbgetlasterror(c.target, text);
    EXPECT_STREQ(text, c.message);
  }
  EXPECT_EQ(describe(both), describe(source));
  Database empty;
  EXPECT_EQ(c__zdbinitfromdb(empty, empty), 1) << "a copy of nothing";
  EXPECT_EQ(c__zdbinitfromdb(empty, source), 1) << "which leaves it empty";
  EXPECT_EQ(describe(empty), describe(source));
}

// ---- callbacks

/// A host that has its data in tables and numbers its labels when it is first asked.
struct Host {
  struct Row {
    std::vector<const char*> key;
    std::vector<double> values;
  };
  Database db;
  std::map<std::string, std::vector<Row>> symbols;
  std::vector<std::string> texts;
  std::string failAt;  ///< the step that fails
  int failAfter = 0;   ///< how often it works before
  std::string calls;   ///< the first letters of the steps
  std::string log;     ///< what was printed last
  const std::vector<Row>* reading = nullptr;
  std::size_t next = 0;

  Host() { EXPECT_EQ(start(), 1) << db.error(); }

  int start() {
    return c__zdbinitfromdmrf(db, &find, &readStart, &readRecord, &readDone, &elemText, &print,
                              this);
  }
  static Host& of(void* user) { return *static_cast<Host*>(user); }
  bool fails(const char* step) {
    calls += step[0];
    return failAt == step && failAfter-- <= 0;
  }
  static int find(const char* name, int* number, void* user) {
    Host& host = of(user);
    const auto found = host.symbols.find({name + 1, static_cast<unsigned char>(name[0])});
    if (host.fails("find") || found == host.symbols.end()) return 1;
    *number = static_cast<int>(std::distance(host.symbols.begin(), found));
    return 0;
  }
  static int readStart(int number, int* count, void* user) {
    Host& host = of(user);
    host.reading = &std::next(host.symbols.begin(), number)->second;
    host.next = 0;
    *count = static_cast<int>(host.reading->size());
    return host.fails("start") ? 1 : 0;
  }
  static int readRecord(int* key, double* values, int* firstChanged, void* user) {
    Host& host = of(user);
    if (host.fails("read")) return 1;
    const Row& row = (*host.reading)[host.next++];
    for (std::size_t d = 0; d < row.key.size(); ++d) key[d] = host.db.label(row.key[d]);
    std::copy(row.values.begin(), row.values.end(), values);
    *firstChanged = 1;
    return 0;
  }
  static int readDone(void* user) { return of(user).fails("done") ? 1 : 0; }
  static int elemText(int number, char* text, int capacity, void* user) {
    Host& host = of(user);
    if (host.fails("text") || number < 1 || number > static_cast<int>(host.texts.size())) return 1;
    const std::string& found = host.texts[static_cast<std::size_t>(number) - 1];
    EXPECT_LE(static_cast<int>(found.size()), capacity);
    text[0] = static_cast<char>(found.size());
    std::copy(found.begin(), found.end(), text + 1);
    return 0;
  }
  static int print(const char* text, void* user) {
    of(user).log.assign(text + 1, static_cast<unsigned char>(text[0]));
    return 0;
  }
  std::string takeCalls() { return std::exchange(calls, {}); }
};

struct Callbacks : testing::TestWithParam<int> {
  Host host;
  const Database& db = host.db;

  Callbacks() { EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, GetParam()), 1); }
};

INSTANTIATE_TEST_SUITE_P(Storages, Callbacks, testing::Range(0, 3));

TEST_P(Callbacks, AnyUseOfASymbol_LoadsItOnce) {
  host.symbols["p"] = {{{"a"}, {1}}, {{"b"}, {2}}};
  Database other;
  zdbSymbol_t target = other.add("q", 1);
  const std::function<int(zdbSymbol_t)> uses[] = {
      [&](zdbSymbol_t p) { return db.info(p, ZDB_SYMBOL_RECORDS) == 2 ? 1 : 0; },
      [&](zdbSymbol_t p) { return Record(db, p, {"b"}).level() == 2 ? 1 : 0; },
      [&](zdbSymbol_t p) {
        const int key = db.label("b");
        const double value = 3;
        return c__zdbaddrecordraw(db, p, &key, &value, nullptr);
      },
      [&](zdbSymbol_t p) { return c__zdbcopysymbol(other, target, p); },
      [&](zdbSymbol_t p) { return c__zdbcopysymbol(db, add(db, "s", ZDB_SET, 0, {nullptr}), p); },
      [&](zdbSymbol_t p) {
        int counters[3];
        return c__zdbgetsymbolsuels(db, &p, 1, counters, 3);
      },
      [&](zdbSymbol_t p) {
        int found = -1;
        return c__zdbchecksymboldv(db, p, &found);
      },
      [&](zdbSymbol_t p) {
        double cells[2];
        const int dims[] = {2};
        return c__zdbdensesymboltodensearray(db, cells, dims, p, ZDB_LEVEL);
      },
  };
  for (const char* label : {"a", "b"}) db.label(label);
  zdbSymbol_t p = add(db, "p", ZDB_PARAMETER, 0, {db.universe()});
  EXPECT_EQ(host.takeCalls(), "");
  for (const auto& use : uses) {
    EXPECT_EQ(use(p), 1) << db.error();
    EXPECT_EQ(host.takeCalls(), "fsrrd") << &use - uses;
    EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS), 2);
    EXPECT_EQ(host.takeCalls(), "");
    EXPECT_EQ(host.start(), 1) << "which unloads what is there";
  }
}

TEST_P(Callbacks, Records_AreThoseOfTheHostSortedByTheirNumbers) {
  for (const char* label : {"a", "b", "c"}) db.label(label);
  host.texts = {"one", std::string(255, 't'), "ONE"};
  // The first record of a key stays; the fraction of a text's number is cut.
  host.symbols["p"] = {{{"c", "a"}, {1}}, {{"a", "c"}, {2}}, {{"b", "b"}, {3}}, {{"a", "c"}, {9}},
                       {{"a", "a"}, {4}}, {{"b", "b"}, {9}}, {{"c", "b"}, {5}}, {{"a", "b"}, {6}}};
  host.symbols["s"] = {{{"a"}, {1.9}}, {{"b"}, {0}}, {{"c"}, {3}}, {{"d"}, {2}}};
  host.symbols["none"] = host.symbols["late"] = {};
  host.symbols["scalar"] = {{{}, {8}}};
  const struct {
    const char* name;
    int type;
    int dim;
    std::string records;
    const char* calls;
  } cases[] = {
      {"p", ZDB_PARAMETER, 2, " a.a=4 a.b=6 a.c=2 b.b=3 c.a=1 c.b=5", "fsrrrrrrrrd"},
      {"s", ZDB_SET, 1, " a=one b= c=one d=" + host.texts[1], "fsrtrrtrtd"},
      {"none", ZDB_VARIABLE, 3, "", "fsd"},
      {"scalar", ZDB_PARAMETER, 0, " =8", "fsrd"},
  };
  for (const auto& c : cases) {
    zdbSymbol_t symbol =
        add(db, c.name, c.type, 0, Symbols(static_cast<std::size_t>(c.dim), nullptr));
    EXPECT_EQ(records(db, symbol), c.records);
    EXPECT_EQ(host.takeCalls(), c.calls);
  }
  // What there is of a symbol goes when the host takes over again.
  db.merge(symbolOf(db, "p"), {"mine", "mine"});
  host.symbols["scalar"] = {};
  ASSERT_EQ(host.start(), 1);
  for (const auto& c : cases) {
    EXPECT_EQ(records(db, symbolOf(db, c.name)), c.calls[3] == 'd' ? "" : c.records);
  }
}

TEST_P(Callbacks, SpecialValuesOfHosts_AreTranslatedBitByBit) {
  double special[ZDB_SV_COUNT];
  c__zdbgetspecialvalues(db, special);
  const double nan = std::nan("7");
  const std::vector<double> others = {std::nextafter(1e300, 0), std::nextafter(2e300, 4e300), nan,
                                      -4e300, 6e300};
  host.symbols["x"] = {{{"a"}, {1e300, 2e300, 3e300, 4e300, 5e300}}, {{"b"}, others}};
  zdbSymbol_t x = add(db, "x", ZDB_EQUATION, 0, {nullptr});
  host.symbols["p"] = {{{"a"}, {3e300}}};
  EXPECT_EQ(records(db, add(db, "p", ZDB_PARAMETER, 0, {nullptr})), " a=inf");
  const double* expected[] = {special, others.data()};
  for (const int n : {0, 1}) {
    Record record(db, x, {n == 0 ? "a" : "b"});
    int key = 0;
    double values[ZDB_MAX_VALUES];
    EXPECT_EQ(c__zdbgetrecordraw(db, record, 1, &key, values), 1);
    EXPECT_EQ(std::memcmp(values, expected[n], sizeof values), 0) << n;
  }
}

TEST_P(Callbacks, Failures_KeepWhatCameBefore) {
  const struct {
    const char* name;
    const char* failAt;
    int failAfter;
    const char* message;  ///< of its own; null: what was there stays, empty: no failure
    const char* records;
  } cases[] = {
      {"s", "find", 0, "Problems with findSymbol for symbol s", ""},
      {"s", "start", 0, "Problems with dataReadRawStart for symbol s", ""},
      {"s", "read", 2, "Problems with dataReadRaw for symbol s", " a=one b="},
      {"s", "text", 0, nullptr, ""},
      {"s", "text", 1, nullptr, " a=one b="},
      {"s", "done", 0, "Problems with dataReadDone for symbol s", " a=one b= c=two"},
      {"far", "", 0, nullptr, ""},
      {"n", "find", 0, "Problems with findSymbol for symbol n", ""},
      {"n", "start", 0, "Problems with dataReadRawStart for symbol n", ""},
      {"n", "read", 0, "", ""},
      {"n", "done", 0, "Problems with dataReadDone for symbol n", " =8"},
  };
  host.symbols["s"] = {{{"a"}, {1}}, {{"b"}, {0}}, {{"c"}, {2}}};
  host.symbols["far"] = {{{"a"}, {4294967297.0}}};  // which is no number of a text
  host.symbols["n"] = {{{}, {8}}};
  host.texts = {"one", "two"};
  add(db, "s", ZDB_SET, 0, {nullptr});
  add(db, "far", ZDB_SET, 0, {nullptr});
  add(db, "n", ZDB_PARAMETER, 0, {});
  zdbSymbol_t none = nullptr;
  for (const auto& c : cases) {
    ASSERT_EQ(host.start(), 1);
    host.failAt = c.failAt;
    host.failAfter = c.failAfter;
    EXPECT_EQ(c__zdbfindsymbol(db, "before", &none), 0);
    EXPECT_EQ(records(db, symbolOf(db, c.name)),
              c.message == nullptr ? "Cannot find symbol before" : c.message)
        << c.failAt;
    EXPECT_EQ(records(db, symbolOf(db, c.name)), c.records);
  }
  host.failAt = "find";
  ASSERT_EQ(host.start(), 1);
  Database copy;
  EXPECT_EQ(c__zdbinitfromdb(copy, db), 0);
  EXPECT_EQ(copy.error(), "Problems with findSymbol for symbol s");
}

TEST_P(Callbacks, UnloadedSymbols_AreCopiedIntoAFile) {
  if (!hasFiles()) GTEST_SKIP() << "no library for data exchange files";
  host.texts = {"one", "two", "ONE"};
  host.symbols["s"] = {{{"a"}, {1}}, {{"b"}, {0}}, {{"c"}, {3}}, {{"d"}, {2}}};
  host.symbols["p"] = {{{"a", "d"}, {1e300}}, {{"b", "c"}, {2e300}}, {{"b", "d"}, {3e300}}};
  host.symbols["x"] = {{{"d"}, {1, 5e300, 4e300, 3e300, 2}}};
  for (const char* label : {"a", "b", "c", "d"}) db.label(label);
  zdbSymbol_t s = add(db, "s", ZDB_SET, 1, {db.universe()}, "a set");
  add(db, "p", ZDB_PARAMETER, 2, {s, nullptr});
  add(db, "x", ZDB_VARIABLE, 5, {s});
  File file;
  ASSERT_EQ(c__zdbwritezxf(db, file.name.c_str(), 0), 1) << db.error();
  EXPECT_EQ(host.takeCalls(), "fsrtrrtrtdfsrrrdfsrd");
  Database read;
  ASSERT_EQ(c__zdbinitfromzxf(read, file.name.c_str()), 1) << read.error();
  const std::string inFile = describe(read);
  EXPECT_EQ(records(read, symbolOf(read, "s")), " a=one b= c=one d=two");
  EXPECT_EQ(records(read, symbolOf(read, "p")), " a.d=1e+300 b.c=nan b.d=inf");
  EXPECT_EQ(records(read, symbolOf(read, "x")), " d=1/4.94066e-324/-inf/inf/2");
  EXPECT_EQ(host.takeCalls(), "");
  EXPECT_EQ(describe(db), inFile) << "what is loaded afterwards is the same";
  EXPECT_EQ(host.takeCalls(), "fsrtrrtrtdfsrrrdfsrd") << "writing loaded nothing";

  ASSERT_EQ(host.start(), 1);
  host.failAt = "done";
  host.failAfter = 1;
  EXPECT_EQ(c__zdbwritezxf(db, file.name.c_str(), 0), 0);
  EXPECT_EQ(db.error(), "Problems writing symbol p to ZXF");
}

TEST(CallbacksOfHosts, AllButPrint_MustBeGiven) {
  const char* const names[] = {"findSymbol", "readStart", "readRecord", "readDone", "elemText"};
  for (int missing = 0; missing < 5; ++missing) {
    Host host;
    EXPECT_EQ(c__zdbinitfromdmrf(host.db, missing == 0 ? nullptr : &Host::find,
                                 missing == 1 ? nullptr : &Host::readStart,
                                 missing == 2 ? nullptr : &Host::readRecord,
                                 missing == 3 ? nullptr : &Host::readDone,
                                 missing == 4 ? nullptr : &Host::elemText, nullptr, &host),
              0);
    EXPECT_EQ(host.db.error(),
              std::string("zdbInitFromDMRF: argument ") + names[missing] + " must not be null");
  }
}

TEST(CallbacksOfHosts, Print_TakesTheLogAsShortStrings) {
  Host host;
  c__zdbprintlog(host.db, "a line");
  EXPECT_EQ(host.log, "a line");
  c__zdbprintlog(host.db, std::string(300, 'x').c_str());
  EXPECT_EQ(host.log, std::string(255, 'x'));
}

}  // namespace
