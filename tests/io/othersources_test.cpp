#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "core/zdb.h"

namespace {

using namespace zdb;

AbstractZDBSymbol* add(ZDB& db, const char* name, int type, std::vector<AbstractZDBSymbol*> domains,
                       int userInfo = 0) {
  const std::vector<const char*> names(domains.size(), "relaxed");
  return db.AddSymbol(name, static_cast<int>(domains.size()), type, userInfo, "text",
                      domains.data(), names.data());
}

double* merge(ZDB& db, AbstractZDBSymbol* symbol, std::vector<const char*> key) {
  return db.MergeRecord(symbol, key.data(), nullptr).second;
}

TEST(InitFromDB, Copy_HoldsEverythingAndStandsAlone) {
  ZDB copy;
  {
    ZDB source;
    AbstractZDBSymbol* i = add(source, "i", TypeSet, {source.universe()});
    *merge(source, i, {"a"}) = source.SetElemText("first");
    AbstractZDBSymbol* alias = add(source, "ii", TypeAlias, {source.universe()}, i->number);
    add(source, "all", TypeAlias, {source.universe()}, 77);
    AbstractZDBSymbol* x =
        add(source, "x", TypeVariable, {alias, nullptr, i, source.universe()}, 3);
    merge(source, x, {"a", "q", "a", "z"})[1] = 4;
    ASSERT_TRUE(copy.InitFromDB(&source)) << copy.lastError();
  }
  EXPECT_EQ(copy.GetInitFrom(), FROM_MEMORY);
  EXPECT_STREQ(copy.labels()[3], "z");
  AbstractZDBSymbol* i = copy.symbols()["i"];
  AbstractZDBSymbol* x = copy.symbols()["x"];
  char text[256];
  i->forEachRecordValues(
      [&](const double* values) { EXPECT_TRUE(copy.GetElemText(textNumber(*values), text)); });
  EXPECT_STREQ(text, "first");
  EXPECT_EQ(copy.symbols()["ii"]->aliasTarget, i);
  EXPECT_EQ(copy.symbols()["all"]->aliasTarget, copy.universe());
  EXPECT_EQ(x->domains,
            (std::vector<AbstractZDBSymbol*>{copy.symbols()["ii"], nullptr, i, copy.universe()}));
  EXPECT_EQ(x->domainNames[1], "relaxed");
  EXPECT_TRUE(i->isDomain);
  EXPECT_EQ(x->userInfo, 3);
  EXPECT_EQ(x->database, &copy);
  int records = 0;
  x->forEachRecord([&](const int* keys, const double* values) {
    ++records;
    EXPECT_EQ(copy.joinKeys(keys, 4), R"(("a","q","a","z"))");
    EXPECT_EQ(values[1], 4);
    EXPECT_EQ(values[4], 1);
  });
  EXPECT_EQ(records, 1);
}

TEST(InitFromDB, DatabaseThatIsNotEmpty_IsRefused) {
  ZDB source;
  int number;
  ZDB withLabel;
  withLabel.labels().merge("a", number);
  EXPECT_FALSE(withLabel.InitFromDB(&source));
  EXPECT_STREQ(withLabel.lastError(), "Uels present. Cannot load Uels from other database.");
  ZDB withSymbol;
  add(withSymbol, "p", TypeParameter, {});
  EXPECT_FALSE(withSymbol.InitFromDB(&source));
  EXPECT_STREQ(withSymbol.lastError(), "Symbols present. Cannot load symbols from other database.");
  ZDB otherSource;
  otherSource.InitFromDMRF({});
  EXPECT_FALSE(otherSource.InitFromDB(&source));
  EXPECT_STREQ(otherSource.lastError(), "Database incorrectly initialized.");
}

// A host that answers the callbacks from a table and can be told to fail at a step.
struct Host {
  struct Record {
    std::vector<int> key;
    std::vector<double> values;
  };
  std::map<std::string, std::vector<Record>> symbols;
  std::vector<std::string> texts;
  std::string failAt;
  std::string calls;
  std::vector<Record> reading;
  std::size_t next = 0;

  bool step(const char* name) {
    calls += std::string(calls.empty() ? "" : " ") + name;
    return failAt == name;
  }

  static Host& of(void* user) { return *static_cast<Host*>(user); }

  DataCallbacks callbacks() {
    DataCallbacks result;
    result.findSymbol = [](const char* name, int* number, void* user) {
      Host& host = of(user);
      const auto found =
          host.symbols.find(std::string(name + 1, static_cast<unsigned char>(name[0])));
      if (host.step("find") || found == host.symbols.end()) return 1;
      host.reading = found->second;
      *number = 5;
      return 0;
    };
    result.readStart = [](int number, int* records, void* user) {
      EXPECT_EQ(number, 5);
      Host& host = of(user);
      host.next = 0;
      *records = static_cast<int>(host.reading.size());
      return host.step("start") ? 1 : 0;
    };
    result.readRecord = [](int* key, double* values, int* firstChanged, void* user) {
      Host& host = of(user);
      if (host.step("read") || host.next == host.reading.size()) return 1;
      const Record& record = host.reading[host.next++];
      std::copy(record.key.begin(), record.key.end(), key);
      std::copy(record.values.begin(), record.values.end(), values);
      *firstChanged = 1;
      return 0;
    };
    result.readDone = [](void* user) { return of(user).step("done") ? 1 : 0; };
    result.elemText = [](int number, char* text, int capacity, void* user) {
      EXPECT_EQ(capacity, 255);
      Host& host = of(user);
      if (host.step("text") || number > static_cast<int>(host.texts.size())) return 1;
      const std::string& found = host.texts[number - 1];
      text[0] = static_cast<char>(found.size());
      std::copy(found.begin(), found.end(), text + 1);
      return 0;
    };
    result.print = [](const char* text, void* user) {
      of(user).calls += " print:" + std::string(text + 1, static_cast<unsigned char>(text[0]));
      return 0;
    };
    result.user = this;
    return result;
  }
};

TEST(Callbacks, SymbolIsReadOnFirstUse_WithItsSpecialValuesAndTexts) {
  ZDB db;
  int number;
  for (const char* label : {"a", "b", "c"}) db.labels().merge(label, number);
  Host host;
  const std::string longText(255, 't');
  host.texts = {"one", longText, "ONE"};
  host.symbols["x"] = {{{1}, {1e300, 2e300, 3e300, 4e300, 5e300}}, {{2}, {1, 2, 3, 4, 5}}};
  host.symbols["s"] = {{{1}, {0}}, {{2}, {1}}, {{3}, {3}}};
  db.InitFromDMRF(host.callbacks());
  AbstractZDBSymbol* x = add(db, "x", TypeVariable, {db.universe()});
  AbstractZDBSymbol* s = add(db, "s", TypeSet, {db.universe()});
  EXPECT_FALSE(x->isLoaded);
  ASSERT_TRUE(db.ensureLoaded(x)) << db.lastError();
  EXPECT_EQ(host.calls, "find start read read done");
  std::vector<double> rows;
  x->forEachRecordValues(
      [&](const double* values) { rows.insert(rows.end(), values, values + 5); });
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(sameBits(rows[i], kLibrarySpecialValues[i]));
    EXPECT_EQ(rows[5 + i], i + 1);
  }
  host.calls.clear();
  ASSERT_TRUE(db.ensureLoaded(s));
  EXPECT_EQ(host.calls, "find start read read text read text done");  // none for number 0
  std::vector<int> numbers;
  s->forEachRecordValues([&](const double* values) { numbers.push_back(textNumber(*values)); });
  EXPECT_EQ(numbers, (std::vector<int>{0, 1, 1}));  // texts that differ in case are one
  EXPECT_EQ(db.SetElemText(longText.c_str()), 2);
}

TEST(Callbacks, EachFailure_HasItsMessage) {
  struct Case {
    const char* failAt;
    int dim;
    const char* message;
  };
  const Case cases[] = {
      {"find", 1, "Problems with findSymbol for symbol p"},
      {"start", 1, "Problems with dataReadRawStart for symbol p"},
      {"read", 1, "Problems with dataReadRaw for symbol p"},
      {"done", 1, "Problems with dataReadDone for symbol p"},
      {"done", 0, "Problems with dataReadDone for symbol p"},
      {"read", 0, nullptr},
  };
  for (const Case& c : cases) {
    ZDB db;
    Host host;
    host.failAt = c.failAt;
    host.symbols["p"] = {{{1}, {2}}};
    db.InitFromDMRF(host.callbacks());
    AbstractZDBSymbol* p =
        add(db, "p", TypeParameter,
            std::vector<AbstractZDBSymbol*>(static_cast<std::size_t>(c.dim), db.universe()));
    EXPECT_EQ(db.ensureLoaded(p), c.message == nullptr) << c.failAt;
    if (c.message != nullptr) {
      EXPECT_STREQ(db.lastError(), c.message);
    }
  }
}

TEST(Callbacks, NoRecords_CallsReadDoneOnly) {
  ZDB db;
  Host host;
  host.symbols["p"] = {};
  db.InitFromDMRF(host.callbacks());
  EXPECT_TRUE(db.ensureLoaded(add(db, "p", TypeParameter, {db.universe()})));
  EXPECT_EQ(host.calls, "find start done");
}

TEST(Callbacks, DataCallbacks_LoadNothingButTakeTheLog) {
  ZDB db;
  Host host;
  AbstractZDBSymbol* p = add(db, "p", TypeParameter, {});
  *merge(db, p, {}) = 1;
  db.SetDataCallbacks(true, host.callbacks(), kLibrarySpecialValues.data());
  EXPECT_EQ(db.GetInitFrom(), FROM_DATACALLBACKS);
  EXPECT_TRUE(p->empty());
  EXPECT_FALSE(db.ensureLoaded(p));
  EXPECT_STREQ(db.lastError(), "Symbol p not initialized from ZXF or ZMI: 6");
  db.PrintLog("a line");
  EXPECT_EQ(host.calls, " print:a line");
  host.calls.clear();
  db.PrintLog(std::string(300, 'x').c_str());
  EXPECT_EQ(host.calls, " print:" + std::string(255, 'x'));
}

}  // namespace
