// Databases filled through callbacks of the host.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "client.h"

namespace {

using Symbols = std::vector<zdbSymbol_t>;

zdbSymbol_t add(const Database& db, const char* name, int type, int userInfo,
                const Symbols& domains, const char* text = "") {
  const std::vector<const char*> names(domains.size(), "by_name");
  zdbSymbol_t symbol = nullptr;
  c__zdbaddsymbolx(db, name, static_cast<int>(domains.size()), type, userInfo, text, domains.data(),
                   names.data(), &symbol);
  EXPECT_NE(symbol, nullptr) << db.error();
  return symbol;
}

/// The records of a symbol with their values, sets with their texts, in key order.
std::string records(const Database& db, zdbSymbol_t symbol) {
  const int dim = db.info(symbol, ZDB_SYMBOL_DIM);
  const int type = db.info(symbol, ZDB_SYMBOL_TYPE);
  std::string all;
  Record record(db);
  if (c__zdbfindfirstrecord(db, symbol, &record) != 1) return all;
  do {
    all += " " + record.key(dim) + "=";
    if (type == ZDB_SET) {
      char text[ZDB_TEXT_SIZE];
      EXPECT_EQ(c__zdbgetelemtext(db, record, text), 1);
      all += text;
      continue;
    }
    int keys[ZDB_MAX_DIM];
    double values[ZDB_MAX_VALUES];
    EXPECT_EQ(c__zdbgetrecordraw(db, record, dim, keys, values), 1);
    for (int v = 0; v < (type < ZDB_VARIABLE ? 1 : 5); ++v) all += std::to_string(values[v]) + "/";
  } while (c__zdbrecordmovenext(db, record) == 1);
  return all;
}

/// What there is to know of a symbol but its storage.
std::string describe(const Database& db, zdbSymbol_t symbol) {
  std::string text;
  for (const int key : {ZDB_SYMBOL_NUMBER, ZDB_SYMBOL_DIM, ZDB_SYMBOL_TYPE, ZDB_SYMBOL_USER_INFO}) {
    text += std::to_string(db.info(symbol, key)) + " ";
  }
  text += db.infoText(symbol, ZDB_SYMBOL_NAME) + " '" + db.infoText(symbol, ZDB_SYMBOL_TEXT) + "'";
  std::vector<std::array<char, ZDB_TEXT_SIZE>> rows(ZDB_MAX_DIM);
  std::vector<char*> names(rows.size());
  std::transform(rows.begin(), rows.end(), names.begin(), [](auto& row) { return row.data(); });
  Symbols domains(ZDB_MAX_DIM);
  const int dim = db.info(symbol, ZDB_SYMBOL_DIM);
  EXPECT_EQ(c__zdbgetdomain(db, symbol, dim, domains.data(), names.data()), 1) << db.error();
  for (int d = 0; d < dim; ++d) {
    text.append(" ").append(names[d]).append(domains[d] == nullptr ? "?" : "");
  }
  if (db.info(symbol, ZDB_SYMBOL_TYPE) != ZDB_ALIAS) return text + records(db, symbol) + "\n";
  zdbSymbol_t target = nullptr;
  EXPECT_EQ(c__zdbfindsymbol(db, db.infoText(symbol, ZDB_SYMBOL_NAME).c_str(), &target), 1);
  return text + " of " + db.infoText(target, ZDB_SYMBOL_NAME) + "\n";
}

/// Labels and symbols of a database in their order.
std::string describe(const Database& db) {
  std::string text;
  char label[ZDB_TEXT_SIZE];
  for (int n = 1; c__zdbgetuelbyindex(db, n, label) == 1; ++n) text.append(label).append(" ");
  text += "\n";
  zdbSymbol_t symbol = nullptr;
  for (int n = 0; c__zdbgetsymbolbynumber(db, n, &symbol) == 1; ++n) text += describe(db, symbol);
  return text;
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
  const std::vector<Row>* reading = nullptr;
  std::size_t next = 0;

  Host() { EXPECT_EQ(start(), 1) << db.error(); }

  int start() {
    return c__zdbinitfromdmrf(db, &find, &readStart, &readRecord, &readDone, &elemText, nullptr,
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
  std::string takeCalls() { return std::exchange(calls, {}); }
};

class Callbacks : public testing::TestWithParam<int> {
 protected:
  Callbacks() { EXPECT_EQ(c__zdbselectrecordstorage(host.db, nullptr, GetParam()), 1); }

  Host host;
  const Database& db = host.db;
};

INSTANTIATE_TEST_SUITE_P(Storages, Callbacks, testing::Range(0, 3));

TEST_P(Callbacks, AnyUseOfASymbol_LoadsItOnce) {
  host.symbols["p"] = {{{"a"}, {1}}, {{"b"}, {2}}};
  Database other;
  zdbSymbol_t target = other.add("q", 1);
  const std::function<int(zdbSymbol_t)> uses[] = {
      [&](zdbSymbol_t p) { return db.info(p, ZDB_SYMBOL_RECORDS) == 2 ? 1 : 0; },
      [&](zdbSymbol_t p) { return records(db, p) == " a=1.000000/ b=2.000000/" ? 1 : 0; },
      [&](zdbSymbol_t p) {
        Record record(db, p, {"b"});
        return record.level() == 2 ? 1 : 0;
      },
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

TEST_P(Callbacks, SymbolsThatAreThere_LoseTheirRecordsToTheHost) {
  Host late;
  Database& earlier = late.db;
  c__zdbselectrecordstorage(earlier, nullptr, GetParam());
  zdbSymbol_t s = add(earlier, "s", ZDB_PARAMETER, 0, {});
  zdbSymbol_t p = add(earlier, "p", ZDB_PARAMETER, 0, {nullptr});
  late.symbols["s"] = {{{}, {4}}};
  late.symbols["p"] = {{{"a"}, {5}}};
  EXPECT_EQ(records(earlier, s) + records(earlier, p), " =4.000000/ a=5.000000/");
  earlier.merge(p, {"mine"});
  late.symbols["s"] = {};
  ASSERT_EQ(late.start(), 1);
  EXPECT_EQ(records(earlier, s) + records(earlier, p), " a=5.000000/");
}

// Numbers are stored as they come: no label, labels of the past and of the future.
TEST_P(Callbacks, RecordsInAnyOrder_AreSortedAndTheFirstOfAKeyStays) {
  for (const char* label : {"a", "b", "c"}) db.label(label);
  host.symbols["p"] = {{{"c", "a"}, {1}}, {{"a", "c"}, {2}}, {{"b", "b"}, {3}}, {{"a", "c"}, {9}},
                       {{"a", "a"}, {4}}, {{"b", "b"}, {9}}, {{"c", "b"}, {5}}, {{"a", "b"}, {6}}};
  EXPECT_EQ(records(db, add(db, "p", ZDB_PARAMETER, 0, {nullptr, nullptr})),
            " a.a=4.000000/ a.b=6.000000/ a.c=2.000000/ b.b=3.000000/ c.a=1.000000/ "
            "c.b=5.000000/");
}

TEST_P(Callbacks, Failures_KeepWhatCameBefore) {
  const std::string read = "Problems with dataReadRaw for symbol s";
  const struct {
    const char* failAt;
    int failAfter;
    std::string message;
    const char* records;
  } cases[] = {
      {"read", 2, read, " a=one b="},
      {"text", 0, "before", ""},
      {"text", 1, "before", " a=one b="},
      {"done", 0, "Problems with dataReadDone for symbol s", " a=one b= c=two"},
  };
  // The fraction is cut from numbers of texts; 0 asks for none.
  host.symbols["s"] = {{{"a"}, {1.9}}, {{"b"}, {0}}, {{"c"}, {2}}};
  host.texts = {"one", "two"};
  zdbSymbol_t s = add(db, "s", ZDB_SET, 0, {nullptr});
  zdbSymbol_t none = nullptr;
  for (const auto& c : cases) {
    ASSERT_EQ(host.start(), 1);
    host.failAt = c.failAt;
    host.failAfter = c.failAfter;
    EXPECT_EQ(c__zdbfindsymbol(db, "before", &none), 0);
    int number = -1;
    EXPECT_EQ(c__zdbsymbolinfo(db, s, ZDB_SYMBOL_RECORDS, &number, nullptr, nullptr), 0);
    const std::string before = "Cannot find symbol before";
    EXPECT_EQ(db.error(), c.message == "before" ? before : c.message) << c.failAt;
    EXPECT_EQ(records(db, s), c.records);
  }
  host.failAt = "find";
  add(db, "unknown", ZDB_PARAMETER, 0, {});
  Database copy;
  EXPECT_EQ(c__zdbinitfromdb(copy, db), 0);
  EXPECT_EQ(copy.error(), "Problems with findSymbol for symbol unknown");
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

TEST_P(Callbacks, UnloadedSymbols_AreCopiedIntoAFile) {
  if (!hasFiles()) GTEST_SKIP() << "no library for data exchange files";
  host.texts = {"one", "two", "ONE"};
  host.symbols["s"] = {{{"a"}, {1}}, {{"b"}, {0}}, {{"c"}, {3}}, {{"d"}, {2}}};
  host.symbols["p"] = {{{"a", "d"}, {1e300}}, {{"b", "c"}, {2e300}}, {{"b", "d"}, {3e300}}};
  host.symbols["x"] = {{{"d"}, {1, 5e300, 4e300, 3e300, 2}}};
  host.symbols["scalar"] = {{{}, {8}}};
  host.symbols["none"] = {};
  for (const char* label : {"a", "b", "c", "d"}) db.label(label);
  zdbSymbol_t s = add(db, "s", ZDB_SET, 1, {db.universe()}, "a set");
  zdbSymbol_t p = add(db, "p", ZDB_PARAMETER, 2, {s, nullptr});
  zdbSymbol_t x = add(db, "x", ZDB_VARIABLE, 5, {s});
  add(db, "scalar", ZDB_PARAMETER, 0, {});
  add(db, "none", ZDB_EQUATION, 0, {s});
  File file;
  ASSERT_EQ(c__zdbwritezxf(db, file.name.c_str(), 0), 1) << db.error();
  EXPECT_EQ(host.takeCalls(),
            "fsrtrrtrtd"
            "fsrrrd"
            "fsrd"
            "fsrd"
            "fsd");
  Database read;
  c__zdbselectrecordstorage(read, nullptr, GetParam());
  ASSERT_EQ(c__zdbinitfromzxf(read, file.name.c_str()), 1) << read.error();
  const std::string inFile = describe(read);
  EXPECT_NE(inFile.find(" a=one b= c=one d=two\n"), std::string::npos) << inFile;
  EXPECT_NE(inFile.find(" b.c=nan/ b.d=inf/\n"), std::string::npos) << inFile;
  EXPECT_NE(inFile.find(" d=1.000000/0.000000/-inf/inf/2.000000/\n"), std::string::npos) << inFile;
  EXPECT_EQ(host.takeCalls(), "");
  EXPECT_EQ(describe(db), inFile) << "what is loaded afterwards is the same";
  EXPECT_EQ(host.takeCalls().substr(0, 10), "fsrtrrtrtd") << "writing loaded nothing";
  EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS) + db.info(x, ZDB_SYMBOL_RECORDS), 4);

  ASSERT_EQ(host.start(), 1);
  host.failAt = "done";
  host.failAfter = 1;
  EXPECT_EQ(c__zdbwritezxf(db, file.name.c_str(), 0), 0);
  EXPECT_EQ(db.error(), "Problems writing symbol p to ZXF");
}

}  // namespace
