// Records outside their domains, found and walked over the three record storages.

#include <functional>
#include <string>
#include <vector>

#include "client.h"

namespace {

using Symbols = std::vector<zdbSymbol_t>;

/// A domain-violation handle, freed at the end.
struct Violation {
  zdbHandle_t db;
  zdbDV_t handle = nullptr;

  explicit Violation(zdbHandle_t database) : db(database) {}
  Violation(zdbHandle_t database, zdbSymbol_t symbol) : db(database) {
    EXPECT_EQ(c__zdbgetfirstdvinsymbol(db, symbol, &handle), 1);
  }
  ~Violation() { clear(); }
  Violation(const Violation&) = delete;
  Violation& operator=(const Violation&) = delete;
  operator zdbDV_t() const { return handle; }
  void clear() {
    if (handle != nullptr && c__zdbfreedvhandle(db, handle) != 1) ADD_FAILURE();
    handle = nullptr;
  }
  bool next() const {
    int found = -1;
    EXPECT_EQ(c__zdbmovenextdvinsymbol(db, handle, &found), 1);
    return found == 1;
  }
  bool nextSymbol() const {
    int found = -1;
    EXPECT_EQ(c__zdbgetfirstdvinnextsymbol(db, handle, &found), 1);
    return found == 1;
  }
};

// Set i holds a, b and j holds b, c; ii is an alias of i, all one of the universe.
class DomainCheck : public testing::TestWithParam<int> {
 protected:
  DomainCheck() {
    EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, GetParam()), 1);
    i = add("i", {db.universe()}, ZDB_SET);
    j = add("j", {db.universe()}, ZDB_SET);
    ii = db.add("ii", 1, ZDB_ALIAS, db.info(i, ZDB_SYMBOL_NUMBER));
    all = db.add("all", 1, ZDB_ALIAS, -1);
    for (const char* label : {"b", "a"}) db.merge(i, {label});
    for (const char* label : {"c", "b"}) db.merge(j, {label});
  }

  /// A null domain is the name of a symbol, which does not make it one.
  zdbSymbol_t add(const char* name, const Symbols& domains, int type = ZDB_PARAMETER) {
    const std::vector<const char*> names(domains.size(), "i");
    zdbSymbol_t symbol = nullptr;
    c__zdbaddsymbolx(db, name, static_cast<int>(domains.size()), type, 0, "", domains.data(),
                     names.data(), &symbol);
    EXPECT_NE(symbol, nullptr) << db.error();
    return symbol;
  }
  /// Under the next storage, so that walks go over all of them.
  zdbSymbol_t addIn(int storage, const char* name, const Symbols& domains,
                    const std::vector<Labels>& keys) {
    zdbSymbol_t symbol = add(name, domains);
    for (const Labels& key : keys) db.merge(symbol, key);
    EXPECT_EQ(c__zdbselectrecordstorage(db, &symbol, (GetParam() + storage) % 3), 1);
    return symbol;
  }

  /// The record under a handle, as symbol(key):positions.
  std::string describe(zdbDV_t violation) {
    zdbSymbol_t symbol = nullptr;
    Record record(db);
    EXPECT_EQ(c__zdbgetdvsymbol(db, violation, &symbol), 1) << db.error();
    EXPECT_EQ(c__zdbgetdvsymbolrecord(db, violation, &record), 1) << db.error();
    const int dim = db.info(symbol, ZDB_SYMBOL_DIM);
    std::vector<int> positions(static_cast<std::size_t>(dim), -1);
    EXPECT_EQ(c__zdbgetdvindicator(db, violation, positions.data()), 1) << db.error();
    std::string text = db.infoText(symbol, ZDB_SYMBOL_NAME) + "(" + record.key(dim) + "):";
    for (const int position : positions) text += std::to_string(position);
    return text + " ";
  }
  std::string violations(zdbSymbol_t symbol) {
    Violation violation(db, symbol);
    std::string found;
    if (violation == nullptr) return found;
    do found += describe(violation);
    while (violation.next());
    return found;
  }
  /// The violations of the whole database; the check goes on.
  std::string violationsOfAll() {
    Violation violation(db);
    EXPECT_EQ(c__zdbgetfirstdbdv(db, &violation.handle), 1) << db.error();
    std::string found;
    for (bool more = violation != nullptr; more;) {
      found += describe(violation);
      more = violation.next() || violation.nextSymbol();
    }
    return found;
  }
  int check() {
    int found = -1;
    EXPECT_EQ(c__zdbcheckdbdv(db, &found), 1) << db.error();
    return found;
  }

  Database db;
  zdbSymbol_t i, j, ii, all;
};

INSTANTIATE_TEST_SUITE_P(Storages, DomainCheck,
                         testing::Values(ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR, ZDB_STORAGE_TREE));

TEST_P(DomainCheck, Symbols_AreCheckedAgainstTheirSets) {
  const struct {
    const char* name;
    Symbols domains;
    const char* violations;
  } cases[] = {
      {"sets", {i, j}, "sets(b.a):01 sets(c.a):11 sets(c.c):10 "},
      {"aliases", {ii, ii}, "aliases(a.c):01 aliases(c.a):10 aliases(c.c):11 "},
      {"second", {db.universe(), j}, "second(b.a):01 second(c.a):01 "},
      {"first", {i, nullptr}, "first(c.a):10 first(c.c):10 "},
      {"names", {nullptr, nullptr}, ""},
      {"open", {db.universe(), all}, ""},
  };
  for (const auto& c : cases) {
    zdbSymbol_t p = add(c.name, c.domains);
    EXPECT_EQ(violations(p), "") << "no records";
    for (const Labels& key :
         std::vector<Labels>{{"c", "c"}, {"b", "a"}, {"a", "c"}, {"c", "a"}, {"b", "b"}}) {
      db.merge(p, key);
    }
    EXPECT_EQ(violations(p), c.violations);
    int found = -1;
    EXPECT_EQ(c__zdbchecksymboldv(db, p, &found), 1);
    EXPECT_EQ(found, c.violations[0] == '\0' ? 0 : 1) << c.name;
  }
  EXPECT_EQ(violations(ii), "");
  EXPECT_EQ(violations(db.universe()), "");
}

TEST_P(DomainCheck, LabelsOutsideTheList_Violate) {
  zdbSymbol_t p = add("p", {i, db.universe()});
  for (const int number : {-1, 0, 4, 2000000000}) {
    const int keys[] = {number, number};
    ASSERT_EQ(c__zdbmergerecordint(db, p, keys, 0, 0, nullptr, 0, nullptr), 1) << db.error();
  }
  EXPECT_EQ(violations(p), "p(?.?):10 p( . ):10 p(?.?):10 p(?.?):10 ");
  // A set with such a record says nothing of labels.
  zdbSymbol_t q = add("q", {j});
  const int number = 4;
  ASSERT_EQ(c__zdbmergerecordint(db, j, &number, 0, 0, nullptr, 0, nullptr), 1);
  ASSERT_EQ(c__zdbmergerecordint(db, q, &number, 0, 0, nullptr, 0, nullptr), 1);
  EXPECT_EQ(violations(q), "q(?):1 ");
}

TEST_P(DomainCheck, Database_IsWalkedInOrderOfAddingOverAllStorages) {
  EXPECT_EQ(check(), 0);
  addIn(0, "open", {db.universe()}, {{"c"}});
  addIn(1, "p", {i}, {{"a"}, {"c"}, {"q"}});
  addIn(2, "none", {i}, {});
  addIn(2, "good", {j, ii}, {{"b", "b"}});
  db.add("scalar", 0);
  db.add("pp", 1, ZDB_ALIAS, db.info(j, ZDB_SYMBOL_NUMBER));
  addIn(2, "q", {ii, nullptr, j}, {{"a", "a", "a"}, {"a", "a", "b"}});
  addIn(0, "r", {all, j}, {{"a", "a"}});
  EXPECT_EQ(violationsOfAll(), "p(c):1 p(q):1 q(a.a.a):001 r(a.a):01 ");
  EXPECT_EQ(violationsOfAll(), "p(c):1 p(q):1 q(a.a.a):001 r(a.a):01 ");
  EXPECT_EQ(c__zdbdomaincheckdone(db), 1);
  EXPECT_EQ(c__zdbdomaincheckdone(db), 1);
  EXPECT_EQ(check(), 1);
  // From the first violation of one symbol straight to the next symbol, without a check of all.
  zdbSymbol_t p = nullptr;
  c__zdbfindsymbol(db, "p", &p);
  Violation violation(db, p);
  EXPECT_TRUE(violation.nextSymbol());
  EXPECT_EQ(describe(violation), "q(a.a.a):001 ");
  EXPECT_FALSE(violation.next());
  EXPECT_TRUE(violation.nextSymbol());
  EXPECT_EQ(describe(violation), "r(a.a):01 ");
  EXPECT_FALSE(violation.nextSymbol());
}

TEST_P(DomainCheck, ManySymbolsWithoutViolations_LeadToNone) {
  for (int n = 0; n < 500; ++n) {
    addIn(n, ("p" + std::to_string(n)).c_str(), {i, j}, {{"a", "b"}, {"b", "c"}});
  }
  EXPECT_EQ(violationsOfAll(), "");
  EXPECT_EQ(check(), 0);
  addIn(1, "last", {j}, {{"a"}});
  EXPECT_EQ(violationsOfAll(), "last(a):1 ");
}

TEST_P(DomainCheck, ChangesOfSets_AreSeenByTheNextCheck) {
  zdbSymbol_t p = add("p", {i});
  for (const char* label : {"c", "d"}) db.merge(p, {label});
  EXPECT_EQ(violations(p), "p(c):1 p(d):1 ");
  db.merge(i, {"c"});
  EXPECT_EQ(violations(p), "p(d):1 ");
  EXPECT_EQ(violationsOfAll(), "p(d):1 ") << "nothing is left of the checks before";
  db.merge(i, {"d"});
  EXPECT_EQ(violations(p), "p(d):1 ") << "the sets are those of the check that goes on";
  EXPECT_EQ(violationsOfAll(), "p(d):1 ");
  c__zdbdomaincheckdone(db);
  EXPECT_EQ(violations(p), "");
  EXPECT_EQ(check(), 0);
  db.merge(p, {"e"});
  Violation open(db, p);
  db.merge(i, {"e"});
  EXPECT_EQ(violationsOfAll(), "") << "a handle that is still open does not hold the walk up";
}

// What one check drops, another one's handle must not miss.
TEST_P(DomainCheck, Handles_SurviveTheEndOfOtherChecks) {
  zdbSymbol_t p = add("p", {i});
  zdbSymbol_t q = add("q", {i});
  for (const char* label : {"a", "c", "d", "e", "f"}) db.merge(p, {label});
  db.merge(q, {"c"});
  const std::function<void()> others[] = {
      [&] { Violation other(db, q); },
      [&] { c__zdbchecksymboldv(db, p, std::vector<int>(1).data()); },
      [&] { check(); },
      [&] {
        violationsOfAll();
        c__zdbdomaincheckdone(db);
      },
  };
  for (const auto& other : others) {
    Violation violation(db, p);
    other();
    EXPECT_EQ(describe(violation), "p(c):1 ");
    other();
    EXPECT_TRUE(violation.next());
    EXPECT_EQ(describe(violation), "p(d):1 ");
  }
  Violation walk(db);
  ASSERT_EQ(c__zdbgetfirstdbdv(db, &walk.handle), 1);
  c__zdbdomaincheckdone(db);
  EXPECT_TRUE(walk.next());
  EXPECT_EQ(describe(walk), "p(d):1 ");
}

TEST_P(DomainCheck, RecordHandle_IsTheCallersOwn) {
  zdbSymbol_t p = add("p", {i});
  for (const char* label : {"a", "c", "d"}) db.merge(p, {label});
  Violation violation(db, p);
  Record record(db);
  ASSERT_EQ(c__zdbgetdvsymbolrecord(db, violation, &record), 1);
  EXPECT_EQ(c__zdbsetlevel(db, record, 4), 1);
  EXPECT_EQ(c__zdbrecordmoveprev(db, record), 1) << "it walks every record";
  EXPECT_EQ(record.key(1), "a");
  EXPECT_EQ(describe(violation), "p(c):1 ");
  int status = -1;
  zdbRecord_t second = c__zdbgetdvsymbolrecordpy(db, violation, &status);
  EXPECT_EQ(status, 1);
  double level = -1;
  EXPECT_EQ(c__zdbgetlevel(db, second, &level), 1);
  EXPECT_EQ(level, 4);
  c__zdbfreesymboliterator(db, second);
  EXPECT_EQ(c__zdbgetdvsymbolpy(db, violation, &status), p);
}

TEST_P(DomainCheck, HandlesWithoutRecord_SaySoAndCanBeFreed) {
  const std::function<void(zdbSymbol_t, Violation&)> ends[] = {
      [](zdbSymbol_t, Violation& violation) { EXPECT_FALSE(violation.next()); },
      [](zdbSymbol_t, Violation& violation) { EXPECT_FALSE(violation.nextSymbol()); },
      [this](zdbSymbol_t p, Violation&) { EXPECT_EQ(c__zdbclearsymbol(db, p), 1); },
      [this](zdbSymbol_t p, Violation&) {
        EXPECT_EQ(c__zdbselectrecordstorage(db, &p, (GetParam() + 1) % 3), 1);
      },
  };
  int number = 0;
  for (const auto& end : ends) {
    zdbSymbol_t p = add(("p" + std::to_string(++number)).c_str(), {j});
    for (const char* label : {"b", "x"}) db.merge(p, {label});
    Violation violation(db, p);
    EXPECT_NE(violation.handle, nullptr);
    end(p, violation);
    zdbSymbol_t symbol = p;
    Record record(db);
    int positions[] = {7};
    EXPECT_EQ(c__zdbgetdvsymbol(db, violation, &symbol), 0);
    EXPECT_EQ(symbol, nullptr);
    EXPECT_EQ(c__zdbgetdvsymbolrecord(db, violation, &record), 0);
    EXPECT_EQ(record.handle, nullptr);
    EXPECT_EQ(c__zdbgetdvindicator(db, violation, positions), 0);
    EXPECT_EQ(db.error(), "No valid violation handle");
    EXPECT_EQ(positions[0], 7);
    EXPECT_FALSE(violation.next());
  }
}

TEST_P(DomainCheck, DeletedRecord_LeavesAHandleToBeFreed) {
  zdbSymbol_t p = add("p", {j});
  for (const char* label : {"b", "x"}) db.merge(p, {label});
  Violation violation(db, p);
  Violation second(db, p);
  Record record(db);
  ASSERT_EQ(c__zdbgetdvsymbolrecord(db, violation, &record), 1);
  ASSERT_EQ(c__zdbdeleterecord(db, record), 1);
  EXPECT_FALSE(violation.next());
  EXPECT_FALSE(second.nextSymbol());
  EXPECT_EQ(violations(p), "");
}

TEST_P(DomainCheck, WrongArguments_AreRefused) {
  zdbSymbol_t p = add("p", {i});
  db.merge(p, {"c"});
  Violation violation(db, p);
  Database other;
  int number = -1;
  zdbSymbol_t symbol = nullptr;
  zdbRecord_t record = nullptr;
  zdbDV_t handle = nullptr;
  const std::string none = "No domain violation handle specified";
  const std::string foreign = ": the domain violation handle is one of another database";
  const struct {
    zdbHandle_t db;
    std::function<int(zdbHandle_t)> call;
    std::string message;
  } cases[] = {
      {db, [&](zdbHandle_t d) { return c__zdbgetdvsymbol(d, nullptr, &symbol); }, none},
      {db, [&](zdbHandle_t d) { return c__zdbgetdvsymbolrecord(d, nullptr, &record); }, none},
      {db, [&](zdbHandle_t d) { return c__zdbgetdvindicator(d, nullptr, &number); }, none},
      {db, [&](zdbHandle_t d) { return c__zdbmovenextdvinsymbol(d, nullptr, &number); }, none},
      {db, [&](zdbHandle_t d) { return c__zdbgetfirstdvinnextsymbol(d, nullptr, &number); }, none},
      {db, [](zdbHandle_t d) { return c__zdbfreedvhandle(d, nullptr); }, none},
      {db, [](zdbHandle_t d) { return c__zdbgetfirstdbdv(d, nullptr); },
       "zdbGetFirstDBDV: argument violation must not be null"},
      {db, [&](zdbHandle_t d) { return c__zdbgetfirstdvinsymbol(d, nullptr, &handle); },
       "No symbol handle specified"},
      {db, [&](zdbHandle_t d) { return c__zdbchecksymboldv(d, nullptr, &number); },
       "No symbol handle specified"},
      {db, [](zdbHandle_t d) { return c__zdbcheckdbdv(d, nullptr); },
       "zdbCheckDBDV: argument hasViolation must not be null"},
      {db, [&](zdbHandle_t d) { return c__zdbmovenextdvinsymbol(d, violation, nullptr); },
       "zdbMoveNextDVInSymbol: argument found must not be null"},
      {db, [&](zdbHandle_t d) { return c__zdbgetdvindicator(d, violation, nullptr); },
       "zdbGetDVIndicator: argument indicator must not be null"},
      {other, [&](zdbHandle_t d) { return c__zdbgetfirstdvinsymbol(d, p, &handle); },
       "Symbol p not in this database"},
      {other, [&](zdbHandle_t d) { return c__zdbgetdvsymbol(d, violation, &symbol); },
       "zdbGetDVSymbol" + foreign},
      {other, [&](zdbHandle_t d) { return c__zdbgetfirstdvinnextsymbol(d, violation, &number); },
       "zdbGetFirstDVInNextSymbol" + foreign},
      {other, [&](zdbHandle_t d) { return c__zdbfreedvhandle(d, violation); },
       "zdbFreeDVHandle" + foreign},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.call(c.db), 0) << c.message;
    char text[ZDB_TEXT_SIZE];
    c__zdbgetlasterror(c.db, text);
    EXPECT_EQ(text, c.message);
  }
  EXPECT_EQ(number, -1);
  EXPECT_EQ(describe(violation), "p(c):1 ") << "the handle stands where it stood";
}

TEST_P(DomainCheck, Py_GivesHandleAndStatus) {
  zdbSymbol_t p = add("p", {i});
  int status = -1;
  EXPECT_EQ(c__zdbgetfirstdvinsymbolpy(db, p, &status), nullptr);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(c__zdbgetfirstdbdvpy(db, &status), nullptr);
  EXPECT_EQ(status, 1);
  db.merge(p, {"c"});
  Violation one(db);
  Violation two(db);
  one.handle = c__zdbgetfirstdvinsymbolpy(db, p, &status);
  two.handle = c__zdbgetfirstdbdvpy(db, &status);
  EXPECT_EQ(describe(one) + describe(two), "p(c):1 p(c):1 ");
  EXPECT_EQ(c__zdbgetfirstdvinsymbolpy(db, nullptr, &status), nullptr);
  EXPECT_EQ(status, 0);
}

// Symbols that a source cannot deliver end the check, which can be repeated.
TEST(DomainCheckOfSources, FailedLoad_FailsTheCheck) {
  Database db;
  const auto noNumber = [](const char*, int*, void*) { return 1; };
  const auto no = [](int, int*, void*) { return 1; };
  ASSERT_EQ(
      c__zdbinitfromdmrf(
          db, noNumber, no, [](int*, double*, int*, void*) { return 1; }, [](void*) { return 1; },
          [](int, char*, int, void*) { return 1; }, nullptr, nullptr),
      1);
  zdbSymbol_t s = db.add("s", 1, ZDB_SET);
  zdbSymbol_t p = nullptr;
  zdbSymbol_t q = nullptr;
  ASSERT_EQ(c__zdbaddsymbolx(db, "p", 1, ZDB_PARAMETER, 0, "", &s, nullptr, &p), 1);
  ASSERT_EQ(c__zdbaddsymbolx(db, "q", 1, ZDB_PARAMETER, 0, "", &s, nullptr, &q), 1);
  const char* key[] = {"a"};
  zdbRecord_t record = nullptr;
  EXPECT_EQ(c__zdbmergerecord(db, p, key, &record), 0) << "which counts as a load";
  db.merge(p, {"a"});
  int found = -1;
  EXPECT_EQ(c__zdbcheckdbdv(db, &found), 0);
  EXPECT_EQ(db.error(), "Problems with findSymbol for symbol s");
  EXPECT_EQ(found, 0);
  EXPECT_EQ(c__zdbcheckdbdv(db, &found), 1);
  EXPECT_EQ(found, 1);
  zdbDV_t violation = nullptr;
  EXPECT_EQ(c__zdbgetfirstdvinsymbol(db, q, &violation), 0);
  EXPECT_EQ(violation, nullptr);
  EXPECT_EQ(db.error(), "Problems with findSymbol for symbol q");
}

}  // namespace
