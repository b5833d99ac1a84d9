// Handles on records outside their domains: what they walk, and what they outlive.

#include <functional>
#include <string>

#include "client.h"

namespace {

/// A handle on the first violation of a symbol, or of the whole database, freed at the end.
struct Violation {
  const Database& db;
  zdbDV_t handle = nullptr;

  explicit Violation(const Database& database, zdbSymbol_t symbol = nullptr) : db(database) {
    EXPECT_EQ(symbol == nullptr ? c__zdbgetfirstdbdv(db, &handle)
                                : c__zdbgetfirstdvinsymbol(db, symbol, &handle),
              1)
        << db.error();
  }
  ~Violation() { EXPECT_EQ(c__zdbfreedvhandle(db, handle), handle == nullptr ? 0 : 1); }
  Violation(const Violation&) = delete;
  Violation& operator=(const Violation&) = delete;

  bool next() const { return moves(c__zdbmovenextdvinsymbol); }
  bool nextSymbol() const { return moves(c__zdbgetfirstdvinnextsymbol); }
  bool moves(int (*move)(zdbHandle_t, zdbDV_t, int*)) const {
    int found = -1;
    EXPECT_EQ(move(db, handle, &found), 1);
    return found == 1;
  }
  /// The record that it stands on, as "symbol(label):positions ".
  std::string text() const {
    zdbSymbol_t symbol = nullptr;
    Record record(db);
    int position = -1;
    if (c__zdbgetdvsymbol(db, handle, &symbol) != 1) return db.error();
    EXPECT_EQ(c__zdbgetdvsymbolrecord(db, handle, &record), 1);
    EXPECT_EQ(c__zdbgetdvindicator(db, handle, &position), 1);
    return db.infoText(symbol, ZDB_SYMBOL_NAME) + "(" + record.key(1) +
           "):" + std::to_string(position) + " ";
  }
};

// Set i holds a, b.
class DomainCheck : public testing::TestWithParam<int> {
 protected:
  DomainCheck() : i(db.add("i", 1, ZDB_SET)) {
    for (const char* label : {"b", "a"}) db.merge(i, {label});
  }

  /// A parameter over i, in one of the storages, so that walks go over all of them.
  zdbSymbol_t add(const std::string& name, const Labels& records, int storage = 0) {
    zdbSymbol_t symbol = nullptr;
    c__zdbaddsymbolx(db, name.c_str(), 1, ZDB_PARAMETER, 0, "", &i, nullptr, &symbol);
    for (const char* label : records) db.merge(symbol, {label});
    EXPECT_EQ(c__zdbselectrecordstorage(db, &symbol, (GetParam() + storage) % 3), 1) << db.error();
    return symbol;
  }
  /// All violations of a symbol or, in a check that goes on, of the database.
  std::string violations(zdbSymbol_t symbol = nullptr) const {
    const Violation violation(db, symbol);
    std::string found;
    for (bool more = violation.handle != nullptr; more;) {
      found += violation.text();
      more = violation.next() || (symbol == nullptr && violation.nextSymbol());
    }
    return found;
  }
  /// Whether there are any in the database, after which the check is over.
  int check() const {
    int found = -1;
    EXPECT_EQ(c__zdbcheckdbdv(db, &found), 1) << db.error();
    return found;
  }

  Database db;
  zdbSymbol_t i;
};

INSTANTIATE_TEST_SUITE_P(Storages, DomainCheck,
                         testing::Values(ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR, ZDB_STORAGE_TREE));

TEST_P(DomainCheck, Walk_GoesFromSymbolToSymbolOverAllStorages) {
  for (int n = 0; n < 500; ++n) add("good" + std::to_string(n), {"a", "b"}, n);
  EXPECT_EQ(violations(), "");
  EXPECT_EQ(check(), 0);
  zdbSymbol_t p = add("p", {"a", "c", "q"}, 1);
  add("none", {}, 2);
  db.merge(db.add("open", 1), {"c"});
  add("q", {"c", "b"}, 2);
  add("r", {"d"});
  for (int n = 0; n < 2; ++n) EXPECT_EQ(violations(), "p(c):1 p(q):1 q(c):1 r(d):1 ");
  EXPECT_EQ(check(), 1);
  // From the first violation of one symbol straight to the next symbol, without a check of all.
  const Violation violation(db, p);
  for (const char* text : {"q(c):1 ", "r(d):1 "}) {
    EXPECT_TRUE(violation.nextSymbol());
    EXPECT_EQ(violation.text(), text);
  }
  EXPECT_FALSE(violation.nextSymbol());
}

TEST_P(DomainCheck, ChangesOfSets_AreSeenByTheNextCheck) {
  zdbSymbol_t p = add("p", {"c", "d"});
  EXPECT_EQ(violations(p), "p(c):1 p(d):1 ");
  db.merge(i, {"c"});
  EXPECT_EQ(violations(), "p(d):1 ") << "nothing is left of the checks before";
  db.merge(i, {"d"});
  EXPECT_EQ(violations(p) + violations(), "p(d):1 p(d):1 ") << "as when the check began";
  EXPECT_EQ(c__zdbdomaincheckdone(db), 1);
  EXPECT_EQ(violations(p), "");
  EXPECT_EQ(check(), 0);
  db.merge(p, {"e"});
  const Violation open(db, p);
  db.merge(i, {"e"});
  EXPECT_EQ(violations(), "") << "a handle that is still open does not hold the walk up";
}

// What one check drops, another one's handle must not miss.
TEST_P(DomainCheck, Handles_SurviveTheEndOfOtherChecks) {
  zdbSymbol_t p = add("p", {"a", "c", "d", "e"});
  zdbSymbol_t q = add("q", {"c"});
  int found = 0;
  const std::function<void()> others[] = {
      [&] { violations(q); },
      [&] { c__zdbchecksymboldv(db, p, &found); },
      [&] { check(); },
      [&] { violations(), c__zdbdomaincheckdone(db); },
  };
  for (const auto& other : others) {
    for (zdbSymbol_t symbol : {p, zdbSymbol_t{}}) {
      const Violation violation(db, symbol);
      other();
      EXPECT_EQ(violation.text(), "p(c):1 ");
      other();
      EXPECT_TRUE(violation.next());
      EXPECT_EQ(violation.text(), "p(d):1 ");
    }
    c__zdbdomaincheckdone(db);
  }
}

TEST_P(DomainCheck, RecordsThatGo_LeaveHandlesToBeFreed) {
  for (const std::string name : {"deleted", "switched"}) {
    zdbSymbol_t p = add(name, {"b", "x"});
    const Violation violation(db, p);
    const Violation second(db, p);
    EXPECT_EQ(name == "deleted" ? c__zdbdeleterecord(db, Record(db, p, {"x"}))
                                : c__zdbselectrecordstorage(db, &p, (GetParam() + 1) % 3),
              1);
    EXPECT_FALSE(violation.next());
    EXPECT_FALSE(second.nextSymbol());
    EXPECT_EQ(violation.text() + second.text(),
              "No valid violation handleNo valid violation handle");
  }
}

// Symbols that a source cannot deliver end the check, until they are cleared.
TEST(DomainCheckOfSources, FailedLoad_FailsTheCheck) {
  Database db;
  const auto no = [](auto...) { return 1; };
  ASSERT_EQ(c__zdbinitfromdmrf(db, no, no, no, no, no, nullptr, nullptr), 1);
  zdbSymbol_t s = db.add("s", 1, ZDB_SET);
  zdbSymbol_t p = nullptr;
  ASSERT_EQ(c__zdbaddsymbolx(db, "p", 1, ZDB_PARAMETER, 0, "", &s, nullptr, &p), 1);
  const char* key[] = {"a"};
  zdbRecord_t record = nullptr;
  EXPECT_EQ(c__zdbmergerecord(db, p, key, &record), 0) << "which counts as a load";
  int found = -1;
  for (const auto& [symbol, name] : {std::pair(p, "p"), std::pair(s, "s")}) {
    for (int again = 0; again < 2; ++again) {
      EXPECT_EQ(c__zdbcheckdbdv(db, &found), 0);
      EXPECT_EQ(db.error(), std::string("Problems with findSymbol for symbol ") + name);
    }
    EXPECT_EQ(c__zdbclearsymbol(db, symbol), 1);
    if (symbol == p) db.merge(p, {"a"});
  }
  EXPECT_EQ(c__zdbcheckdbdv(db, &found), 1);
  EXPECT_EQ(found, 1);
}

}  // namespace
