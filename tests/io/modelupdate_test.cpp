// Preparing an instance, and putting the values of parameters into it.
#include <cmath>
#include <random>
#include <utility>

#include "loaders/zst.h"
#include "spy.h"

namespace {

using namespace zdb::loaders;

struct ModelUpdate : ModelTest {
  Database viewer;  ///< shows what the instance holds

  ModelUpdate()
      : ModelTest(
            "x(a) -8 80; x(b) -7 70; p_var(a) 0 9; p_var(b) 0 9; s_var 0 1 0.5;"
            "e_var(a): x(a) free 0; e(a): x(a) free 0; e(b): x(b) free 0") {
    EXPECT_EQ(said(viewer, c__zdbinitfromdict(viewer, instance)), "");
    EXPECT_EQ(said(viewer, c__zdbinitupdate(viewer, instance)), "");
    setLevels(15, 16);
    spy.calls.clear();
  }
  /// Gives the entries of a and b levels, a tenth of them as marginals, and alternative bounds that
  /// are not the instance's own, and switches these on.
  void setLevels(double a, double b) const {
    for (const std::string name : {"x(a)", "x(b)", "p_var(a)", "p_var(b)", "e(a)", "e(b)"}) {
      set(name, name.ends_with("(a)") ? a : b, (name.ends_with("(a)") ? a : b) / 10);
      if (name[0] == 'e') continue;
      zmiSetAltVarLowerOne(record, model[name], -9);
      zmiSetAltVarUpperOne(record, model[name], 90);
    }
    zmiAltBoundsSet(record, 1);
  }
  /// The records of a symbol of the model as they are now: a solve that does not run unloads them.
  std::string seen(const std::string& name) {
    const auto answers =
        std::exchange(spy.answers, {{"zstAlgAllowsModifyProblem", {0}}, {"zrtCallSolver", {0}}});
    EXPECT_EQ(said(viewer, c__zdbcallsolver(viewer, "clp")), "");
    spy.answers = answers;
    return records(viewer, name.c_str());
  }
};

TEST_F(ModelUpdate, Preparing_ReadsTheConfigurationAndFixesParametersAtTheirLevels) {
  spy.answers = {{"zrtGetStrOpt", {1, "/sys"}}, {"zstReadConfigGUC", {0}}};
  EXPECT_EQ(prepare(), "");
  EXPECT_EQ(spy.taken("zrtGet zstRead"),
            "zrtGetStrOpt(NameSysDir) zstReadConfigGUC(/sys/zrncmpun.txt,/sys/) ");
  EXPECT_EQ(seen("p_var"), " a=15/1.5/15/15/1 b=16/1.6/16/16/1");
  EXPECT_EQ(seen("x"), " a=15/1.5/-9/90/1 b=16/1.6/-9/90/1");
  spy.calls.clear();
  EXPECT_EQ(prepare(), "");
  EXPECT_TRUE(spy.calls.empty()) << "it is prepared once";
}

TEST_F(ModelUpdate, FailedPreparation_LeavesTheSourceAndCanBeRepeated) {
  const std::map<std::string, std::pair<const char*, Spy::Answer>> cases = {
      {"Could not read configuration file", {"zstReadConfigGUC", {1}}},
      {"No solver environment available", {"zmiEnvironment", {}}}};
  zdbfree(&viewer.handle);
  for (const auto& [message, answer] : cases) {
    renew();
    spy.answers = {{answer.first, answer.second}};
    EXPECT_EQ(link(), message);
    EXPECT_EQ(prepare(), message);
    EXPECT_EQ(solve("clp"), "No model instance is prepared: call zdbInitUpdate first");
    EXPECT_EQ(zstLibraryUnload(), 1) << "a configuration was left";
    Spy::comeBetween();
    spy.answers.clear();
    EXPECT_EQ(records(db, "e"), " a=15/1.5/-inf/inf/1 b=16/1.6/-inf/inf/1");
    EXPECT_EQ(prepare(), "");
  }
  renew();
  EXPECT_EQ(c__zdbinitfromzxf(db, "/none"), 0);
  EXPECT_EQ(prepare(), "Database initialized from ZXF cannot sync with model");
}

/// What becomes of the entries of a, with the record 7.5, and of b, without one, from 5/0.5/-9/90
/// and 6/0.6/-9/90, for each treatment of the missing.
TEST_F(ModelUpdate, Actions_SetWhatTheyAreFor) {
  const struct {
    const char* name;
    int action;
    std::string found;
    std::string zero;
    std::string base;
  } cases[] = {
      {"x", ZDB_UPDATE_FIX, "7.5/0.5/7.5/7.5", "0/0.6/0/0", "16/0.6/16/16"},
      {"x", ZDB_UPDATE_UPPER, "5/0.5/-9/7.5", "0/0.6/-9/0", "6/0.6/-9/70"},
      {"x", ZDB_UPDATE_LOWER, "7.5/0.5/7.5/90", "6/0.6/0/90", "6/0.6/-7/90"},
      {"x", ZDB_UPDATE_BOUNDS, "7.5/0.5/7.5/7.5", "0/0.6/0/0", "6/0.6/-7/70"},
      {"x", ZDB_UPDATE_LEVEL, "7.5/0.5/-9/90", "0/0.6/-9/90", "16/0.6/-9/90"},
      {"x", ZDB_UPDATE_MARGINAL, "5/7.5/-9/90", "6/0/-9/90", "6/1.6/-9/90"},
      {"p", ZDB_UPDATE_FIX, "7.5/0.5/7.5/7.5", "0/0.6/0/0", "16/0.6/16/16"},
      {"p", ZDB_UPDATE_MARGINAL, "5/7.5/-9/90", "6/0/-9/90", "6/1.6/-9/90"},
      {"e", ZDB_UPDATE_LEVEL, "7.5/0.5/-inf/inf", "0/0.6/-inf/inf", "16/0.6/-inf/inf"},
      {"e", ZDB_UPDATE_MARGINAL, "5/7.5/-inf/inf", "6/0/-inf/inf", "6/1.6/-inf/inf"},
  };
  EXPECT_EQ(link(), "");
  put(db, db.add("p", 1), {"a"}, 7.5);
  for (const auto& c : cases) {
    const std::string kept = *c.name == 'e' ? "6/0.6/-inf/inf" : "6/0.6/-9/90";
    const std::string missing[] = {c.zero, c.base, kept, c.base};
    for (int type = ZDB_MISSING_ZERO; type <= ZDB_MISSING_KEEP + 1; ++type) {
      setLevels(5, 6);
      EXPECT_EQ(update(c.name, c.action, "p", type), "0");
      EXPECT_EQ(seen(c.name + std::string(*c.name == 'p' ? "_var" : "")),
                " a=" + c.found + "/1 b=" + missing[type] + "/1")
          << c.name << c.action << type;
    }
  }
  const int x = model["x(b)"];
  const int e = model["e(b)"];
  EXPECT_EQ(zmiGetVarStatOne(record, x) * 10 + zmiGetVarCStatOne(record, x), 13) << "kept";
  EXPECT_EQ(zmiGetEquStatOne(record, e) * 10 + zmiGetEquCStatOne(record, e), 13) << "kept";
  zdbSymbol_t s = db.add("s", 0);
  for (const char* expected : {" =0.5/0/0.5/0.5/1", " =8/0/8/8/1"}) {
    EXPECT_EQ(update("s", ZDB_UPDATE_FIX, "s", ZDB_MISSING_BASE), "0");
    EXPECT_EQ(seen("s_var"), expected);
    put(db, s, {}, 8);
  }
}

TEST_F(ModelUpdate, Values_AreCheckedWhereTheyAreUsed) {
  double special[ZDB_SV_COUNT];
  c__zdbgetspecialvalues(db, special);
  const double eps = special[ZDB_SV_EPSILON];
  const double largest = std::nextafter(1.0E300, 0);
  const struct {
    double value;
    double level;
    const char* result;
  } cases[] = {
      {eps, 0, "0"},
      {2 * eps, 2 * eps, "0"},
      {INFINITY, INFINITY, "0"},
      {-INFINITY, -INFINITY, "0"},
      {largest, largest, "0"},
      {special[ZDB_SV_UNDEFINED], 16, "Bad value 1e+300"},
      {1.0E305, 16, "Bad value 1e+305"},
      {special[ZDB_SV_NOT_AVAILABLE], 16, "Bad value nan"},
  };
  EXPECT_EQ(link(), "");
  zdbSymbol_t p = db.add("p", 1);
  put(db, p, {"a"}, 3);
  for (const auto& c : cases) {
    setLevels(15, 16);
    put(db, p, {"b"}, c.value);
    EXPECT_EQ(update("x", ZDB_UPDATE_LEVEL, "p", ZDB_MISSING_KEEP), c.result);
    EXPECT_EQ(zmiGetVarLOne(record, model["x(b)"]), c.level) << c.value;
    EXPECT_EQ(zmiGetVarLOne(record, model["x(a)"]), 3) << "what came before stays";
  }
}

TEST_F(ModelUpdate, WhatDoesNotFit_IsRefusedBeforeAnythingChanges) {
  const struct {
    const char* name;
    int action;
    const char* data;
    const char* result;
  } cases[] = {
      {"x", 6, "p", "Invalid actionType, saw 6"},
      {"x", -1, "p", "Invalid actionType, saw -1"},
      {"e", 3, "p", "actionType 3 needs a variable, but e is an equation of the model"},
      {"x", 4, "q", "Data symbol q has 0 index positions, x has 1 in the model"},
      {"x", 4, "p", "Entry 0 has no base value: call zdbInitUpdate first"},
      {"e", 5, "p", "Entry 1 has no base value: call zdbInitUpdate first"},
      {"q", 99, "p", "1"},  // the model does not have it
  };
  EXPECT_EQ(takeDictionary(), "");
  put(db, db.add("p", 1), {"elsewhere"}, 1);
  db.add("q", 0);
  for (const auto& c : cases) {
    EXPECT_EQ(update(c.name, c.action, c.data, ZDB_MISSING_BASE), c.result);
    EXPECT_EQ(seen("x"), " a=15/1.5/-9/90/1 b=16/1.6/-9/90/1");
  }
  EXPECT_EQ(update("x", ZDB_UPDATE_BOUNDS, "p", 1), "1") << "own bounds need no base";
  EXPECT_EQ(seen("x"), " a=15/1.5/-8/80/1 b=16/1.6/-7/70/1");
  // Data that cannot be loaded are no data.
  const testsupport::TemporaryFolder folder;
  const std::string file = folder.path("a.zxf");
  EXPECT_EQ(said(db, c__zdbwritezxf(db, file.c_str(), 0)), "");
  renew();
  EXPECT_EQ(said(db, c__zdbinitfromzxf(db, file.c_str())), "");
  EXPECT_EQ(said(db, c__zdbclosezxf(db, 0)), "");
  EXPECT_EQ(update("x", 4, "p", 0), "No model instance is registered: call zdbRegisterZMI first");
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, instance)), "");
  EXPECT_EQ(update("x", 4, "p", 0), "Symbol p not initialized from ZXF or ZMI: 3");
}

TEST_F(ModelUpdate, InstanceThatIsOnlyRegistered_TakesValuesByTheirLabels) {
  put(db, db.add("p", 1), {"b"}, 7);
  db.add("x", 1, ZDB_VARIABLE);
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, instance)), "");
  EXPECT_EQ(update("x", ZDB_UPDATE_LEVEL, "p", ZDB_MISSING_KEEP), "0");
  EXPECT_EQ(seen("x"), " a=15/1.5/-9/90/1 b=7/1.6/-9/90/1");
}

/// Random keys of model and data, in all storages, where the labels have the same numbers on both
/// sides or not. Labels and the name are as long as they may be.
TEST_F(ModelUpdate, ManyRecords_MeetTheEntriesWithTheirLabels) {
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
    const kittest::Model many(text);
    const kittest::Instance manyColumns(many);
    renew();
    c__zdbselectrecordstorage(db, nullptr, round % 3);
    for (int i = n; round >= 3 && i > 0; i -= 2) db.label(label(i - 1).c_str());
    EXPECT_EQ(said(db, c__zdbinitupdate(db, manyColumns)), "");
    db.add(y.c_str(), 2, ZDB_VARIABLE);
    zdbSymbol_t p = db.add("p", 2);
    int unmatched = 0;
    for (int i = 0; i < n * n; ++i) {
      if (random() % 2 == 0) continue;
      put(db, p, {label(i / n).c_str(), label(i % n).c_str()}, i + 1);
      unmatched += levels[i] < 0 ? 1 : 0;
      if (levels[i] == 0) levels[i] = i + 1;
    }
    EXPECT_EQ(update(y.c_str(), ZDB_UPDATE_LEVEL, "p", 2), std::to_string(unmatched));
    for (int i = 0; i < n * n; ++i) {
      if (levels[i] < 0) continue;
      EXPECT_EQ(zmiGetVarLOne(recordOf(manyColumns), many[name(i)]), levels[i]) << name(i);
    }
  }
}

}  // namespace
