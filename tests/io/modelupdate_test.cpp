// Preparing an instance, and putting the values of parameters into it.
#include <cmath>
#include <random>
#include <sstream>

#include "loaders/zst.h"
#include "spy.h"

namespace {

using namespace zdb::loaders;

struct ModelUpdate : ModelTest {
  zdbSymbol_t data = nullptr;

  ModelUpdate()
      : ModelTest(
            "x(a) -8 80; x(b) -7 70; p_var(a) 0 9; p_var(b) 0 9; s_var 0 1 0.5;"
            "e(a): x(a) free 0; e(b): x(b) free 0; e_var(a): x(a) free 0") {
    setLevels(15, 16);
  }
  /// Gives the entries of a and b levels, a tenth of them as marginals, and alternative bounds that
  /// are not the instance's own, and switches these on.
  void setLevels(double a, double b) const {
    for (const char* name : {"x(a)", "x(b)", "p_var(a)", "p_var(b)", "e(a)", "e(b)"}) {
      const double level = std::string(name).ends_with("(a)") ? a : b;
      set(name, level, level / 10);
      if (*name == 'e') continue;
      zmiSetAltVarLowerOne(record, model[name], -9);
      zmiSetAltVarUpperOne(record, model[name], 90);
    }
    zmiAltBoundsSet(record, 1);
  }
  /// Level/marginal of a row or column, of columns then /lower/upper.
  std::string state(const std::string& name) const {
    const bool isRow = name[0] == 'e';
    double level = 0;
    double marginal = 0;
    int status = 0;
    int basis = 0;
    const auto get = isRow ? zmiGetSolutionEquRec : zmiGetSolutionVarRec;
    get(record, model[name], &level, &marginal, &status, &basis);
    EXPECT_TRUE((status == 1 && basis == 3) || name == "s_var") << "these never change";
    std::ostringstream text;
    text << level << "/" << marginal;
    if (!isRow)
      text << "/" << zmiGetVarLowerOne(record, model[name]) << "/"
           << zmiGetVarUpperOne(record, model[name]);
    return text.str();
  }
  std::string states(const std::string& symbol) const {
    return state(symbol + "(a)") + " " + state(symbol + "(b)");
  }
  /// Tells the number of records without an entry, or why it failed.
  std::string update(const char* name, int action, int updateType) const {
    int noMatch = -1;
    const int result =
        c__zdbupdatemodelsymbol(db, symbolOf(db, name), action, data, updateType, &noMatch);
    EXPECT_EQ(result == 0, noMatch == -1);
    return result == 1 ? std::to_string(noMatch) : db.error();
  }
};

TEST_F(ModelUpdate, Preparing_ReadsTheConfigurationAndFixesParametersAtTheirLevels) {
  spy.answers = {{"zrtGetStrOpt", {1, "/sys"}}, {"zstReadConfigGUC", {0}}};
  EXPECT_EQ(said(db, c__zdbinitupdate(db, instance)), "");
  EXPECT_EQ(spy.taken("zrtGet zstRead"),
            "zrtGetStrOpt(NameSysDir) zstReadConfigGUC(/sys/zrncmpun.txt,/sys/) ");
  EXPECT_EQ(states("p_var") + " " + state("s_var"), "15/1.5/15/15 16/1.6/16/16 0.5/0/0.5/0.5");
  EXPECT_EQ(states("x"), "15/1.5/-9/90 16/1.6/-9/90");
  spy.calls.clear();
  EXPECT_EQ(said(db, c__zdbinitupdate(db, instance)), "");
  EXPECT_TRUE(spy.calls.empty()) << "it is prepared once";
}

TEST_F(ModelUpdate, FailedPreparation_LeavesTheSourceAndCanBeRepeated) {
  const struct {
    const char* failing;
    Spy::Answer answer;
    const char* message;
  } cases[] = {{"zstReadConfigGUC", {1}, "Could not read configuration file"},
               {"zmiEnvironment", {}, "No solver environment available"}};
  for (const auto& c : cases) {
    Database fresh;
    EXPECT_EQ(said(fresh, c__zdbinitfromdict(fresh, instance)), "");
    spy.answers = {{c.failing, c.answer}};
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_EQ(said(fresh, c__zdbinitupdate(fresh, instance)), c.message);
      EXPECT_EQ(said(fresh, c__zdbcallsolver(fresh, "clp")),
                "No model instance is prepared: call zdbInitUpdate first");
    }
    EXPECT_EQ(zstLibraryUnload(), 1) << "a configuration was left";
    Spy::comeBetween();
    spy.answers.clear();
    EXPECT_EQ(records(fresh, symbolOf(fresh, "e")), " a=15/1.5/-inf/inf/1 b=16/1.6/-inf/inf/1");
    EXPECT_EQ(said(fresh, c__zdbinitupdate(fresh, instance)), "");
  }
  c__zdbinitfromzxf(db, "/none");
  EXPECT_EQ(said(db, c__zdbinitupdate(db, instance)),
            "Database initialized from ZXF cannot sync with model");
}

/// What becomes of the entries of a, with the record 7.5, and of b, without one, from 5/0.5/-9/90
/// and 6/0.6/-9/90, for each treatment of the missing.
TEST_F(ModelUpdate, Actions_SetWhatTheyAreFor) {
  const struct {
    const char* name;
    int action;
    const char* states[3];  ///< of a; of b for zero and base
  } cases[] = {
      {"x", ZDB_UPDATE_FIX, {"7.5/0.5/7.5/7.5", "0/0.6/0/0", "16/0.6/16/16"}},
      {"x", ZDB_UPDATE_UPPER, {"5/0.5/-9/7.5", "0/0.6/-9/0", "6/0.6/-9/70"}},
      {"x", ZDB_UPDATE_LOWER, {"7.5/0.5/7.5/90", "6/0.6/0/90", "6/0.6/-7/90"}},
      {"x", ZDB_UPDATE_BOUNDS, {"7.5/0.5/7.5/7.5", "0/0.6/0/0", "6/0.6/-7/70"}},
      {"x", ZDB_UPDATE_LEVEL, {"7.5/0.5/-9/90", "0/0.6/-9/90", "16/0.6/-9/90"}},
      {"x", ZDB_UPDATE_MARGINAL, {"5/7.5/-9/90", "6/0/-9/90", "6/1.6/-9/90"}},
      {"p", ZDB_UPDATE_FIX, {"7.5/0.5/7.5/7.5", "0/0.6/0/0", "16/0.6/16/16"}},
      {"p", ZDB_UPDATE_MARGINAL, {"5/7.5/-9/90", "6/0/-9/90", "6/1.6/-9/90"}},
      {"e", ZDB_UPDATE_LEVEL, {"7.5/0.5", "0/0.6", "16/0.6"}},
      {"e", ZDB_UPDATE_MARGINAL, {"5/7.5", "6/0", "6/1.6"}},
  };
  prepare(db);
  data = db.add("p", 1);
  put(db, data, {"a"}, 7.5);
  for (const auto& c : cases) {
    const std::string entries = *c.name == 'p' ? "p_var" : c.name;
    for (int type = ZDB_MISSING_ZERO; type <= ZDB_MISSING_KEEP + 1; ++type) {
      setLevels(5, 6);
      const std::string kept = state(entries + "(b)");
      EXPECT_EQ(update(c.name, c.action, type), "0");
      const int missing = type == ZDB_MISSING_ZERO ? 1 : 2;
      EXPECT_EQ(states(entries), std::string(c.states[0]) + " " +
                                     (type == ZDB_MISSING_KEEP ? kept : c.states[missing]))
          << c.name << " " << c.action << " " << type;
    }
  }
  // Of a symbol without positions.
  data = db.add("s", 0);
  for (const char* expected : {"0.5/0/0.5/0.5", "8/0/8/8"}) {
    EXPECT_EQ(update("s", ZDB_UPDATE_FIX, ZDB_MISSING_BASE), "0");
    EXPECT_EQ(state("s_var"), expected);
    put(db, data, {}, 8);
  }
}

TEST_F(ModelUpdate, Values_AreCheckedWhereTheyAreUsed) {
  double special[ZDB_SV_COUNT];
  c__zdbgetspecialvalues(db, special);
  const double eps = special[ZDB_SV_EPSILON];
  const struct {
    double value;
    double level;
    const char* result;
  } cases[] = {
      {eps, 0, "0"},
      {2 * eps, 2 * eps, "0"},
      {INFINITY, INFINITY, "0"},
      {-INFINITY, -INFINITY, "0"},
      {-1.0E305, -1.0E305, "0"},
      {std::nextafter(1.0E300, 0), std::nextafter(1.0E300, 0), "0"},
      {special[ZDB_SV_UNDEFINED], 16, "Bad value 1e+300"},
      {1.0E305, 16, "Bad value 1e+305"},
      {special[ZDB_SV_NOT_AVAILABLE], 16, "Bad value nan"},
  };
  prepare(db);
  data = db.add("p", 1);
  put(db, data, {"a"}, 3);
  for (const auto& c : cases) {
    setLevels(15, 16);
    put(db, data, {"b"}, c.value);
    EXPECT_EQ(update("x", ZDB_UPDATE_LEVEL, ZDB_MISSING_KEEP), c.result);
    EXPECT_EQ(zmiGetVarLOne(record, model["x(b)"]), c.level) << c.value;
    EXPECT_EQ(zmiGetVarLOne(record, model["x(a)"]), 3) << "what came before stays";
  }
}

TEST_F(ModelUpdate, WhatDoesNotFit_IsRefusedBeforeAnythingChanges) {
  EXPECT_EQ(said(db, c__zdbinitfromdict(db, instance)), "");
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
      {"e", 5, "p", "Entry 0 has no base value: call zdbInitUpdate first"},
      {"q", 99, "p", "1"},  // the model does not have it
  };
  put(db, db.add("p", 1), {"elsewhere"}, 1);
  db.add("q", 0);
  for (const auto& c : cases) {
    data = symbolOf(db, c.data);
    EXPECT_EQ(update(c.name, c.action, ZDB_MISSING_BASE), c.result);
    EXPECT_EQ(states("x") + " " + states("e"), "15/1.5/-9/90 16/1.6/-9/90 15/1.5 16/1.6");
  }
  data = symbolOf(db, "p");
  EXPECT_EQ(update("x", ZDB_UPDATE_BOUNDS, ZDB_MISSING_BASE), "1") << "own bounds need no base";
  EXPECT_EQ(states("x"), "15/1.5/-8/80 16/1.6/-7/70");
  Database other;
  attachRefusals(other);
  EXPECT_EQ(said(other, c__zdbregisterzmi(other, instance)), "");
  int noMatch = -1;
  EXPECT_EQ(said(other, c__zdbupdatemodelsymbol(other, other.add("x", 1, ZDB_VARIABLE), 4,
                                                other.add("d", 1), 0, &noMatch)),
            "Problems with findSymbol for symbol d");
}

/// Random keys of model and data, which know the labels by the same numbers or not, in all
/// storages.
TEST_F(ModelUpdate, ManyRecords_MeetTheEntriesWithTheirLabels) {
  std::mt19937 random(7);
  for (int round = 0; round < 6; ++round) {
    constexpr int n = 13;
    // As long as labels and names may be.
    const auto label = [](int i) { return std::string(62, 'l') + static_cast<char>('a' + i); };
    const std::string y(63, 'y');
    const auto name = [&](int i) { return y + "(" + label(i / n) + "," + label(i % n) + ")"; };
    std::string text;
    std::vector<double> levels(n * n);  // -1: no entry, 0: no record
    for (int i = 0; i < n * n; ++i) {
      if (random() % 3 == 0)
        levels[i] = -1;
      else
        text += name(i) + " 0 1;";
    }
    const kittest::Model many(text);
    const kittest::Instance instanceOfMany(many);
    Database other;
    c__zdbselectrecordstorage(other, nullptr, round % 3);
    for (int i = n; round >= 3 && i > 0; i -= 2) other.label(label(i - 1).c_str());
    EXPECT_EQ(said(other, c__zdbinitupdate(other, instanceOfMany)), "");
    zdbSymbol_t variable = other.add(y.c_str(), 2, ZDB_VARIABLE);
    zdbSymbol_t p = other.add("p", 2);
    int unmatched = 0;
    for (int i = 0; i < n * n; ++i) {
      if (random() % 2 == 0) continue;
      put(other, p, {label(i / n).c_str(), label(i % n).c_str()}, i + 1);
      unmatched += levels[i] < 0 ? 1 : 0;
      if (levels[i] == 0) levels[i] = i + 1;
    }
    int noMatch = -1;
    EXPECT_EQ(
        said(other, c__zdbupdatemodelsymbol(other, variable, ZDB_UPDATE_LEVEL, p, 2, &noMatch)),
        "");
    EXPECT_EQ(noMatch, unmatched);
    for (int i = 0; i < n * n; ++i) {
      if (levels[i] < 0) continue;
      EXPECT_EQ(zmiGetVarLOne(recordOf(instanceOfMany), many[name(i)]), levels[i]) << name(i);
    }
  }
}

}  // namespace
