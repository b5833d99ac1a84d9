// Values of many records for many entries of a model.
#include <random>

#include "companions/kit/testing.h"
#include "support/allocations.h"
#include "support/client.h"

namespace {

/// Random keys of model and data, in all storages, where the labels have the same numbers on both
/// sides or not. Labels and the name are as long as they may be.
TEST(ModelUpdate, ManyRecords_MeetTheEntriesWithTheirLabels) {
  constexpr int n = 13;
  const std::string y(63, 'y');
  const auto label = [](int i) { return std::string(62, 'l') + static_cast<char>('a' + i); };
  const auto name = [&](int i) { return y + "(" + label(i / n) + "," + label(i % n) + ")"; };
  std::mt19937 random(7);
  for (int round = 0; round < 6; ++round) {
    std::string text;
    std::vector<double> levels(n * n);  // -1: no entry, 0: no record
    for (int i = 0; i < n * n; ++i) {
      levels[i] = random() % 3 == 0 ? -1 : 0;
      if (levels[i] == 0) text += name(i) + " 0 1;";
    }
    const zdb::test::kit::Model model(text);
    const zdb::test::kit::Instance instance(model);
    const Database db;
    c__zdbselectrecordstorage(db, nullptr, round % 3);
    for (int i = n; round >= 3 && i > 0; i -= 2) db.label(label(i - 1).c_str());
    EXPECT_EQ(db.said(c__zdbinitupdate(db, instance)), "");
    zdbSymbol_t variable = db.add(y.c_str(), 2, ZDB_VARIABLE);
    zdbSymbol_t p = db.add("p", 2);
    int unmatched = 0;
    for (int i = 0; i < n * n; ++i) {
      if (random() % 2 == 0) continue;
      db.put(p, {label(i / n).c_str(), label(i % n).c_str()}, i + 1);
      unmatched += levels[i] < 0 ? 1 : 0;
      if (levels[i] == 0) levels[i] = i + 1;
    }
    int noMatch = -1;
    c__zdbupdatemodelsymbol(db, variable, ZDB_UPDATE_LEVEL, p, ZDB_MISSING_KEEP, &noMatch);
    EXPECT_EQ(noMatch, unmatched) << db.error();
    for (int i = 0; i < n * n; ++i) {
      if (levels[i] < 0) continue;
      EXPECT_EQ(CzmiGetVarLOne(instance, model[name(i)]), levels[i]) << name(i);
    }
  }
}

/// The dictionary's too, which then has no walk over what there is.
TEST(ModelUpdate, MemoryThatRunsOut_FailsTheCall) {
  const zdb::test::kit::Model model("x(a) 0 1; p_var 0 9 4");
  int failed = 0;
  bool isComplete = false;
  for (std::uint64_t first = 1; !isComplete; ++first) {
    const zdb::test::kit::Instance instance(model);
    const Database db;
    zdbSymbol_t p = db.add("p", 1);
    zdbSymbol_t x = db.add("x", 1, ZDB_VARIABLE);
    db.put(p, {"a"}, 0.5);
    testing::internal::CaptureStdout();
    int noMatch = -1;
    bool isDone = false;
    {
      const zdb::test::Allocations allocations(first);
      isDone = c__zdbinitupdate(db, instance) == 1 &&
               c__zdbupdatemodelsymbol(db, x, ZDB_UPDATE_LEVEL, p, ZDB_MISSING_KEEP, &noMatch) == 1;
      isComplete = !allocations.hasFailed();
    }
    testing::internal::GetCapturedStdout();
    failed += isDone ? 0 : 1;
    if (!isDone) continue;
    CzmiAltBoundsSet(instance, 1);
    EXPECT_EQ(noMatch, 0) << "allocation " << first;
    EXPECT_EQ(CzmiGetVarLOne(instance, 0), 0.5) << "allocation " << first;
    EXPECT_EQ(CzmiGetVarUpperOne(instance, 1), 4) << "allocation " << first;
  }
  EXPECT_GT(failed, 2);
}

/// What a host does with the database when a solver has a line for it.
TEST(ModelSolve, LogThatUsesTheModel_IsRefused) {
  const zdb::test::kit::Model model("int x 0 9 ; min z -inf inf ; cost: z - x = 0 ; c: x >= 1");
  const zdb::test::kit::Instance instance(model);
  const Database db;
  struct Host {
    const Database& db;
    void* instance;
    std::string said{};
    zdbSymbol_t x, p;
  } host{db, instance, "", db.add("x", 0, ZDB_VARIABLE), db.add("p", 0)};
  db.put(host.p, {}, 1);
  EXPECT_EQ(db.said(c__zdbinitupdate(db, instance)), "");
  zkitSetLog(
      instance,
      [](const char*, void* user) {
        Host& self = *static_cast<Host*>(user);
        const Database& its = self.db;
        int noMatch = 0;
        for (const int result :
             {c__zdbregisterzmi(its, self.instance), c__zdbcallsolver(its, "glpk"),
              c__zdbupdatemodelsymbol(its, self.x, 4, self.p, 0, &noMatch)}) {
          self.said += its.said(result) + "|";
        }
      },
      &host);
  EXPECT_NE(db.said(c__zdbcallsolver(db, "clp")), "");  // which solves no integer models
  const std::string refused = "The model instance is being solved|";
  EXPECT_EQ(host.said, refused + refused + refused);
  zkitSetLog(instance, nullptr, nullptr);
  EXPECT_EQ(db.said(c__zdbcallsolver(db, "glpk")), "");
}

}  // namespace
