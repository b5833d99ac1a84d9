// Databases filled through callbacks of the host.

#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/contents.h"

namespace {

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

/// A host that has its data in tables and numbers its labels when it is first asked.
struct Host {
  struct Row {
    std::vector<const char*> key;
    std::vector<double> values;
  };
  Database db;
  std::map<std::string, std::vector<Row>> symbols;
  std::vector<std::string> texts;
  char failAt = ' ';  ///< the step that fails, by its first letter
  int failAfter = 0;  ///< how often it works before
  std::string calls;  ///< the letters of the steps
  std::string log;    ///< what was printed last
  std::vector<Row> reading;

  Host() { EXPECT_EQ(said(db, start()), ""); }

  static Host& of(void* user) { return *static_cast<Host*>(user); }
  bool fails(char step) {
    calls += step;
    return failAt == step && failAfter-- <= 0;
  }
  /// Becomes the source of the database, without one of the callbacks if so wanted.
  int start(int missing = -1) {
    const zdbFindSymbolCallback_t find = [](const char* name, int* number, void* user) {
      const auto found = of(user).symbols.find({name + 1, static_cast<unsigned char>(name[0])});
      if (of(user).fails('f') || found == of(user).symbols.end()) return 1;
      of(user).reading = found->second;
      *number = 5;
      return 0;
    };
    const zdbReadStartCallback_t readStart = [](int number, int* count, void* user) {
      *count = number == 5 ? static_cast<int>(of(user).reading.size()) : -1;
      return of(user).fails('s') ? 1 : 0;
    };
    const zdbReadRecordCallback_t read = [](int* key, double* values, int* changed, void* user) {
      if (of(user).fails('r')) return 1;
      std::vector<Row>& rows = of(user).reading;
      for (const char* label : rows.front().key) *key++ = of(user).db.label(label);
      std::copy(rows.front().values.begin(), rows.front().values.end(), values);
      rows.erase(rows.begin());
      *changed = 1;
      return 0;
    };
    const zdbReadDoneCallback_t done = [](void* user) { return of(user).fails('d') ? 1 : 0; };
    const zdbElemTextCallback_t elemText = [](int number, char* text, int capacity, void* user) {
      const int count = static_cast<int>(of(user).texts.size());
      if (of(user).fails('t') || number < 1 || number > count) return 1;
      const std::string& found = of(user).texts[static_cast<std::size_t>(number) - 1];
      EXPECT_EQ(capacity, 255);
      text[0] = static_cast<char>(found.size());
      std::copy(found.begin(), found.end(), text + 1);
      return 0;
    };
    const zdbPrintCallback_t print = [](const char* text, void* user) {
      of(user).log.assign(text + 1, static_cast<unsigned char>(text[0]));
      return 0;
    };
    return c__zdbinitfromdmrf(db, missing == 0 ? nullptr : find, missing == 1 ? nullptr : readStart,
                              missing == 2 ? nullptr : read, missing == 3 ? nullptr : done,
                              missing == 4 ? nullptr : elemText, print, this);
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
  zdbSymbol_t set = add(db, "s", ZDB_SET, 0, {nullptr});
  const int key = 2;
  const int dims[] = {2};
  double cells[2] = {3};
  int out[3];
  const std::function<int(zdbSymbol_t)> uses[] = {
      [&](zdbSymbol_t p) { return db.info(p, ZDB_SYMBOL_RECORDS) == 2 ? 1 : 0; },
      [&](zdbSymbol_t p) { return Record(db, p, {"b"}).level() == 2 ? 1 : 0; },
      [&](zdbSymbol_t p) { return c__zdbaddrecordraw(db, p, &key, cells, nullptr); },
      [&](zdbSymbol_t p) { return c__zdbcopysymbol(other, target, p); },
      [&](zdbSymbol_t p) { return c__zdbcopysymbol(db, set, p); },
      [&](zdbSymbol_t p) { return c__zdbgetsymbolsuels(db, &p, 1, out, 3); },
      [&](zdbSymbol_t p) { return c__zdbchecksymboldv(db, p, out); },
      [&](zdbSymbol_t p) { return c__zdbdensesymboltodensearray(db, cells, dims, p, ZDB_LEVEL); },
  };
  for (const char* label : {"a", "b"}) db.label(label);
  zdbSymbol_t p = add(db, "p", ZDB_PARAMETER, 0, {db.universe()});
  EXPECT_EQ(host.takeCalls(), "");
  for (const auto& use : uses) {
    EXPECT_EQ(said(db, use(p)), "");
    EXPECT_EQ(host.takeCalls(), "fsrrd") << &use - uses;
    EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS), 2);
    EXPECT_EQ(host.takeCalls(), "");
    EXPECT_EQ(host.start(), 1) << "which unloads what is there";
  }
}

/// Records of a host are sorted by label numbers, the first of a key stays; failures keep what came
/// before them. The fraction of the number of a text is cut.
TEST_P(Callbacks, Records_AreThoseThatTheHostDelivers) {
  for (const char* label : {"a", "b", "c"}) db.label(label);
  host.texts = {"one", std::string(255, 't'), "ONE"};
  host.symbols["p"] = {{{"c", "a"}, {1}}, {{"a", "c"}, {2}}, {{"b", "b"}, {3}}, {{"a", "c"}, {9}},
                       {{"a", "a"}, {4}}, {{"b", "b"}, {9}}, {{"c", "b"}, {5}}, {{"a", "b"}, {6}}};
  host.symbols["s"] = {{{"a"}, {1.9}}, {{"b"}, {0}}, {{"c"}, {3}}, {{"d"}, {2}}};
  host.symbols["far"] = {{{"a"}, {4294967297.0}}};  // which is no number of a text
  host.symbols["none"] = {};
  host.symbols["n"] = {{{}, {7}}, {{}, {8}}};  // the last one counts
  add(db, "p", ZDB_PARAMETER, 0, {nullptr, nullptr});
  for (const char* name : {"s", "far"}) add(db, name, ZDB_SET, 0, {nullptr});
  add(db, "none", ZDB_VARIABLE, 0, {nullptr});
  add(db, "n", ZDB_PARAMETER, 0, {});
  const std::string problems = "Problems with ";
  const char* earlier = "Cannot find symbol before";
  const struct {
    const char* name;
    char failAt;
    int failAfter;
    std::string said;
    std::string records;
    const char* calls;
  } cases[] = {
      {"p", ' ', 0, "", " a.a=4 a.b=6 a.c=2 b.b=3 c.a=1 c.b=5", "fsrrrrrrrrd"},
      {"s", ' ', 0, "", " a=one b= c=one d=" + host.texts[1], "fsrtrrtrtd"},
      {"none", ' ', 0, "", "", "fsd"},
      {"n", ' ', 0, "", " =8", "fsrrd"},
      {"s", 'f', 0, problems + "findSymbol for symbol s", "", "f"},
      {"s", 's', 0, problems + "dataReadRawStart for symbol s", "", "fs"},
      {"s", 'r', 2, problems + "dataReadRaw for symbol s", "", "fsrtrr"},
      {"s", 't', 0, earlier, "Symbol s could not be read to its end", "fsrt"},
      {"s", 't', 1, earlier, "Symbol s could not be read to its end", "fsrtrrt"},
      {"far", ' ', 0, earlier, "Symbol far could not be read to its end", "fsrt"},
      {"s", 'd', 0, problems + "dataReadDone for symbol s", "", "fsrtrrtrtd"},
      {"n", 'r', 0, "", "", "fsrd"},
      {"n", 'd', 0, problems + "dataReadDone for symbol n", "", "fsrrd"},
  };
  for (const auto& c : cases) {
    host.failAt = c.failAt;
    host.failAfter = c.failAfter;
    ASSERT_EQ(host.start(), 1);
    zdbSymbol_t symbol = nullptr;
    EXPECT_EQ(said(db, c__zdbfindsymbol(db, "before", &symbol)), earlier);
    symbol = symbolOf(db, c.name);
    int count = 0;
    const int key = ZDB_SYMBOL_RECORDS;
    EXPECT_EQ(said(db, c__zdbsymbolinfo(db, symbol, key, &count, nullptr, nullptr)), c.said);
    // What has come before a failure is not the symbol, so it is not to be had.
    EXPECT_EQ(records(db, symbol), c.said.empty() || c.said == earlier ? c.records : c.said);
    EXPECT_EQ(host.takeCalls(), c.calls) << c.name << c.failAt;
    EXPECT_EQ(c__zdbclearsymbol(db, symbol), 1);
    db.merge(symbol, {"mine", "mine"});  // which goes when the host takes over again
  }
  host.failAt = 'f';
  ASSERT_EQ(host.start(), 1);
  Database copy;
  EXPECT_EQ(said(copy, c__zdbinitfromdb(copy, db)), "Problems with findSymbol for symbol p");
  EXPECT_EQ(said(copy, c__zdbinitfromzxf(copy, "a")),
            "Database has been initialized, cannot initialize from a");
}

TEST_P(Callbacks, SpecialValuesOfHosts_AreTranslatedBitByBit) {
  double special[ZDB_SV_COUNT];
  c__zdbgetspecialvalues(db, special);
  const std::vector<double> others = {std::nextafter(1e300, 0), std::nextafter(2e300, 4e300),
                                      std::nan("7"), -4e300, 6e300};
  host.symbols["x"] = {{{"a"}, {1e300, 2e300, 3e300, 4e300, 5e300}}, {{"b"}, others}};
  zdbSymbol_t x = add(db, "x", ZDB_EQUATION, 0, {nullptr});
  for (const char* label : {"a", "b"}) {
    int key = 0;
    double values[ZDB_MAX_VALUES];
    EXPECT_EQ(c__zdbgetrecordraw(db, Record(db, x, {label}), 1, &key, values), 1);
    const double* expected = *label == 'a' ? special : others.data();
    for (int v = 0; v < ZDB_MAX_VALUES; ++v) {
      EXPECT_EQ(std::bit_cast<std::uint64_t>(values[v]), std::bit_cast<std::uint64_t>(expected[v]));
    }
  }
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
  const std::string content =
      "a b c d \n0 1 0 1 s 'a set' * a=one b= c=one d=two\n"
      "1 2 1 2 p '' s by_name? a.d=1e+300 b.c=nan b.d=inf\n"
      "2 1 2 5 x '' s d=1/4.94066e-324/-inf/inf/2\n";
  File file;
  ASSERT_EQ(said(db, c__zdbwritezxf(db, file.name.c_str(), 0)), "");
  Database read;
  ASSERT_EQ(said(read, c__zdbinitfromzxf(read, file.name.c_str())), "");
  EXPECT_EQ(describe(read), content);
  const std::string calls = "fsrtrrtrtdfsrrrdfsrd";
  EXPECT_EQ(host.takeCalls(), calls);
  EXPECT_EQ(describe(db), content);
  EXPECT_EQ(host.takeCalls(), calls) << "writing loaded nothing";
  ASSERT_EQ(host.start(), 1);
  host.failAt = 'd';
  host.failAfter = 1;
  EXPECT_EQ(said(db, c__zdbwritezxf(db, file.name.c_str(), 0)), "Problems writing symbol p to ZXF");
}

TEST(CallbacksOfHosts, Print_GetsTheLog) {
  const Host host;
  for (const std::string& line : {std::string("a line"), std::string(255, 'x')}) {
    c__zdbprintlog(host.db, (line + (line.size() == 255 ? "y" : "")).c_str());
    EXPECT_EQ(host.log, line);
  }
}

TEST(CallbacksOfHosts, MissingOnes_FailTheLoadThatNeedsThem) {
  const std::string problems = "Problems with ";
  const std::string messages[] = {problems + "findSymbol for symbol s",
                                  problems + "dataReadRawStart for symbol s",
                                  problems + "dataReadRaw for symbol s",
                                  problems + "dataReadDone for symbol s",
                                  "No callback for element texts was given"};
  for (int missing = 0; missing < 5; ++missing) {
    Host host;
    host.db.label("a");
    host.texts = {"one"};
    host.symbols["s"] = {{{"a"}, {1}}};
    EXPECT_EQ(said(host.db, host.start(missing)), "");
    EXPECT_EQ(records(host.db, host.db.add("s", 1, ZDB_SET)), messages[missing]);
  }
}

}  // namespace
