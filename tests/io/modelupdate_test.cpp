// Preparing an instance, and putting the values of parameters into it.
#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include "loaders/zst.h"
#include "modeltest.h"

namespace {

using namespace zdb::loaders;

constexpr double kInf = std::numeric_limits<double>::infinity();

struct ModelUpdate : ModelTest {
  zmiRec* const instance = model.record();
  zdbSymbol_t data = nullptr;

  ModelUpdate()
      : ModelTest(
            "col x(a) -8 80 0; col x(b) -7 70 0; col p_var(a) 0 9 0; col p_var(b) 0 9 0;"
            "col s_var 0 1 0.5; row e(a) free 0; row e(b) free 0; row e_var(a) free 0") {
    setLevels(15, 16);
  }
  /// Gives all entries with these labels levels, a tenth of them as marginals, and alternative
  /// bounds that are not the instance's own, and switches these on.
  void setLevels(double a, double b) const {
    const std::pair<const char*, double> levels[] = {{"(a)", a}, {"(b)", b}};
    for (const auto& [labels, level] : levels) {
      for (const char* name : {"x", "p_var", "e"}) {
        const int entry = model[std::string(name) + labels];
        const auto set = name[0] == 'e' ? zmiSetSolutionEquRec : zmiSetSolutionVarRec;
        set(instance, entry, level, level / 10, 1, 3);
        if (name[0] == 'e') continue;
        zmiSetAltVarLowerOne(instance, entry, -9);
        zmiSetAltVarUpperOne(instance, entry, 90);
      }
    }
    zmiAltBoundsSet(instance, 1);
  }
  /// Level/marginal of a row or column, of columns then /lower/upper.
  std::string state(const std::string& name) const {
    const bool isRow = name[0] == 'e';
    double level = 0;
    double marginal = 0;
    int status = 0;
    int basis = 0;
    (isRow ? zmiGetSolutionEquRec : zmiGetSolutionVarRec)(instance, model[name], &level, &marginal,
                                                          &status, &basis);
    EXPECT_EQ(status * 10 + basis, name == "s_var" ? 0 : 13) << "never changed";
    std::ostringstream text;
    text << level << "/" << marginal;
    if (!isRow) {
      text << "/" << zmiGetVarLowerOne(instance, model[name]) << "/"
           << zmiGetVarUpperOne(instance, model[name]);
    }
    return text.str();
  }
  void prepareWithData() {
    prepare(db);
    db.add("p", 1);
    data = db.add("data", 1);
  }
  int update(const char* name, int action, int updateType, int* noMatch) const {
    return c__zdbupdatemodelsymbol(db, symbolOf(db, name), action, data, updateType, noMatch);
  }
};

TEST_F(ModelUpdate, Preparing_ReadsTheConfigurationAndFixesParametersAtTheirLevels) {
  spy.answers = {{"zrtGetStrOpt", {1, "/sys"}}, {"zstReadConfigGUC", {0}}};
  ASSERT_EQ(c__zdbinitupdate(db, model), 1) << db.error();
  EXPECT_EQ(spy.taken("zrtGet zstRead"),
            "zrtGetStrOpt(NameSysDir) zstReadConfigGUC(/sys/zrncmpun.txt,/sys/)");
  EXPECT_EQ(db.label("a") * 10 + db.label("b"), 12) << "registered as well";
  EXPECT_EQ(state("p_var(a)"), "15/1.5/15/15");
  EXPECT_EQ(state("p_var(b)"), "16/1.6/16/16");
  EXPECT_EQ(state("s_var"), "0.5/0/0.5/0.5");
  EXPECT_EQ(state("x(a)"), "15/1.5/-9/90");
  spy.calls.clear();
  EXPECT_EQ(c__zdbinitupdate(db, model), 1);
  EXPECT_EQ(spy.taken("z"), "") << "it is prepared once";
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
    ASSERT_EQ(c__zdbinitfromdict(fresh, model), 1);
    spy.answers = {{c.failing, c.answer}};
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_REFUSED(fresh, c__zdbinitupdate(fresh, model), c.message);
      EXPECT_REFUSED(fresh, c__zdbcallsolver(fresh, "clp"),
                     "No model instance is prepared: call zdbInitUpdate first");
    }
    EXPECT_EQ(zstLibraryUnload(), 1) << "a configuration was left";
    Spy::comeBetween();
    EXPECT_EQ(recordsOf(fresh, "e"), " a=15/1.5/-inf/inf/1 b=16/1.6/-inf/inf/1");
    spy.answers.clear();
    EXPECT_EQ(c__zdbinitupdate(fresh, model), 1) << fresh.error();
  }
  Database withFile;
  EXPECT_EQ(c__zdbinitfromzxf(withFile, "/none"), 0);
  EXPECT_REFUSED(withFile, c__zdbinitupdate(withFile, model),
                 "Database initialized from ZXF cannot sync with model");
}

/// What becomes of the entry of a, 5/0.5/-9/90 with the record 7.5, and of b, 6/0.6/-9/90 without
/// one, for each action and treatment of the missing.
TEST_F(ModelUpdate, Actions_SetWhatTheyAreFor) {
  const struct {
    const char* name;
    int action;
    const char* found;
    const char* zero;
    const char* base;
  } cases[] = {
      {"x", ZDB_UPDATE_FIX, "7.5/0.5/7.5/7.5", "0/0.6/0/0", "16/0.6/16/16"},
      {"x", ZDB_UPDATE_UPPER, "5/0.5/-9/7.5", "0/0.6/-9/0", "6/0.6/-9/70"},
      {"x", ZDB_UPDATE_LOWER, "7.5/0.5/7.5/90", "6/0.6/0/90", "6/0.6/-7/90"},
      {"x", ZDB_UPDATE_BOUNDS, "7.5/0.5/7.5/7.5", "0/0.6/0/0", "6/0.6/-7/70"},
      {"x", ZDB_UPDATE_LEVEL, "7.5/0.5/-9/90", "0/0.6/-9/90", "16/0.6/-9/90"},
      {"x", ZDB_UPDATE_MARGINAL, "5/7.5/-9/90", "6/0/-9/90", "6/1.6/-9/90"},
      {"p", ZDB_UPDATE_FIX, "7.5/0.5/7.5/7.5", "0/0.6/0/0", "16/0.6/16/16"},
      {"p", ZDB_UPDATE_MARGINAL, "5/7.5/-9/90", "6/0/-9/90", "6/1.6/-9/90"},
      {"e", ZDB_UPDATE_LEVEL, "7.5/0.5", "0/0.6", "16/0.6"},
      {"e", ZDB_UPDATE_MARGINAL, "5/7.5", "6/0", "6/1.6"},
  };
  prepareWithData();
  put(db, data, {"a"}, 7.5);
  for (const auto& c : cases) {
    const std::string entry = c.name + std::string(c.name[0] == 'p' ? "_var" : "");
    for (int type = ZDB_MISSING_ZERO; type <= ZDB_MISSING_KEEP + 1; ++type) {
      setLevels(5, 6);
      const std::string kept = state(entry + "(b)");
      int noMatch = -1;
      EXPECT_EQ(update(c.name, c.action, type, &noMatch), 1) << db.error();
      EXPECT_EQ(noMatch, 0);
      EXPECT_EQ(state(entry + "(a)"), c.found) << c.name << " " << c.action;
      EXPECT_EQ(state(entry + "(b)"), type == ZDB_MISSING_KEEP   ? kept
                                      : type == ZDB_MISSING_ZERO ? c.zero
                                                                 : c.base)
          << c.name << " " << c.action << " " << type;
    }
  }
}

TEST_F(ModelUpdate, RecordsWithoutAnEntry_AreCounted) {
  prepareWithData();
  for (const char* label : {"b", "c", "elsewhere"}) put(db, data, {label}, 1);
  int noMatch = -1;
  EXPECT_EQ(update("x", ZDB_UPDATE_LEVEL, ZDB_MISSING_KEEP, &noMatch), 1);
  EXPECT_EQ(noMatch, 2);
  EXPECT_EQ(state("x(a)") + " " + state("x(b)"), "15/1.5/-9/90 1/1.6/-9/90");
  // A symbol that the model does not have meets nothing, which is no failure.
  EXPECT_EQ(update("data", 99, ZDB_MISSING_ZERO, &noMatch), 1);
  EXPECT_EQ(noMatch, 3);
}

TEST_F(ModelUpdate, Values_AreCheckedWhereTheyAreUsed) {
  double special[ZDB_SV_COUNT];
  c__zdbgetspecialvalues(db, special);
  const struct {
    double value;
    double level;
    const char* message;
  } cases[] = {
      {special[ZDB_SV_EPSILON], 0, ""},
      {2 * special[ZDB_SV_EPSILON], 2 * special[ZDB_SV_EPSILON], ""},
      {kInf, kInf, ""},
      {-kInf, -kInf, ""},
      {-1.0E305, -1.0E305, ""},
      {std::nextafter(1.0E300, 0), std::nextafter(1.0E300, 0), ""},
      {special[ZDB_SV_UNDEFINED], 16, "Bad value 1e+300"},
      {1.0E305, 16, "Bad value 1e+305"},
      {special[ZDB_SV_NOT_AVAILABLE], 16, "Bad value nan"},
  };
  prepareWithData();
  for (const auto& c : cases) {
    setLevels(15, 16);
    put(db, data, {"a"}, 3);
    put(db, data, {"b"}, c.value);
    int noMatch = -1;
    const bool isUsable = *c.message == '\0';
    EXPECT_EQ(update("x", ZDB_UPDATE_LEVEL, ZDB_MISSING_KEEP, &noMatch), isUsable ? 1 : 0);
    EXPECT_EQ(noMatch, isUsable ? 0 : -1);
    if (!isUsable) {
      EXPECT_EQ(db.error(), c.message);
    }
    EXPECT_EQ(zmiGetVarLOne(instance, model["x(b)"]), c.level) << c.value;
    EXPECT_EQ(zmiGetVarLOne(instance, model["x(a)"]), 3) << "what came before stays";
  }
}

TEST_F(ModelUpdate, WhatDoesNotFit_IsRefusedBeforeAnythingChanges) {
  Database loose;
  Database foreign;
  ASSERT_EQ(c__zdbinitfromdict(db, model), 1);
  attachRefusals(loose);
  zdbSymbol_t looseX = loose.add("x", 1, ZDB_VARIABLE);
  zdbSymbol_t looseD = loose.add("d", 1);
  zdbSymbol_t x = symbolOf(db, "x");
  zdbSymbol_t e = symbolOf(db, "e");
  zdbSymbol_t p = db.add("p", 1);
  zdbSymbol_t scalar = db.add("scalar", 0);
  zdbSymbol_t set = db.add("set", 1, ZDB_SET);
  zdbSymbol_t alias = db.add("alias", 1, ZDB_ALIAS);
  zdbSymbol_t stranger = foreign.add("stranger", 1);
  int noMatch = -1;
  const std::string kind = " must be parameter, variable, or equation";
  const struct {
    const Database& db;
    zdbSymbol_t model;
    int action;
    zdbSymbol_t data;
    int* noMatch;
    std::string message;
  } cases[] = {
      {db, nullptr, 9, nullptr, nullptr, "No ZARN symbol handle specified"},
      {db, set, 9, nullptr, nullptr, "No Data symbol handle specified for ZARN symbol set"},
      {db, set, 9, x, &noMatch, "ZARN symbol set" + kind},
      {db, alias, 9, p, &noMatch, "ZARN symbol alias" + kind},
      {db, db.universe(), 9, p, &noMatch, "ZARN symbol *" + kind},
      {db, x, 9, x, &noMatch, "Data symbol x must be parameter"},
      {db, e, 9, set, nullptr, "Data symbol set must be parameter"},
      {db, stranger, 9, p, nullptr, "Symbol stranger not in this database"},
      {db, x, 9, stranger, nullptr, "Symbol stranger not in this database"},
      {db, x, 9, p, nullptr, "zdbUpdateModelSymbol: argument noMatch must not be null"},
      {db, x, 6, p, &noMatch, "Invalid actionType, saw 6"},
      {db, x, -1, p, &noMatch, "Invalid actionType, saw -1"},
      {db, e, 3, p, &noMatch, "actionType 3 needs a variable, but e is an equation of the model"},
      {db, x, 4, scalar, &noMatch,
       "Data symbol scalar has 0 index positions, x has 1 in the model"},
      {db, x, 4, p, &noMatch, "Entry 0 has no base value: call zdbInitUpdate first"},
      {db, e, 5, p, &noMatch, "Entry 0 has no base value: call zdbInitUpdate first"},
      {loose, looseX, 4, looseD, &noMatch,
       "No model instance is registered: call zdbRegisterZMI first"},
  };
  for (const auto& c : cases) {
    EXPECT_REFUSED(c.db, c__zdbupdatemodelsymbol(c.db, c.model, c.action, c.data, 1, c.noMatch),
                   c.message);
    EXPECT_EQ(state("x(a)") + " " + state("e(a)"), "15/1.5/-9/90 15/1.5");
  }
  EXPECT_EQ(noMatch, -1);
  ASSERT_EQ(c__zdbregisterzmi(loose, model), 1);
  EXPECT_REFUSED(loose, c__zdbupdatemodelsymbol(loose, looseX, 4, looseD, 0, &noMatch),
                 "Problems with findSymbol for symbol d");
  // Own bounds need no preparation.
  EXPECT_EQ(c__zdbupdatemodelsymbol(db, x, ZDB_UPDATE_BOUNDS, p, ZDB_MISSING_BASE, &noMatch), 1);
  EXPECT_EQ(state("x(b)"), "16/1.6/-7/70");
}

TEST_F(ModelUpdate, Scalars_HaveOneEntry) {
  prepareWithData();
  data = db.add("s", 0);
  int noMatch = -1;
  EXPECT_EQ(update("s", ZDB_UPDATE_FIX, ZDB_MISSING_BASE, &noMatch), 1) << db.error();
  EXPECT_EQ(state("s_var"), "0.5/0/0.5/0.5");
  put(db, data, {}, 8);
  EXPECT_EQ(update("s", ZDB_UPDATE_FIX, ZDB_MISSING_ZERO, &noMatch), 1);
  EXPECT_EQ(state("s_var"), "8/0/8/8");
  EXPECT_EQ(noMatch, 0);
}

/// Random keys of model and data, which know the labels by the same numbers or not, in all
/// storages.
TEST(ModelUpdateOfMany, Records_MeetTheEntriesWithTheirLabels) {
  std::mt19937 random(7);
  const auto isIn = [&] { return random() % 3 != 0; };
  for (int round = 0; round < 6; ++round) {
    Spy spy;
    std::string text = "col y(l0,l0) 0 1 -1";
    for (int i = 0; i < 12; ++i) {
      for (int j = 0; j < 12; ++j) {
        if (i + j == 0 || !isIn()) continue;
        text += ";col y(l" + std::to_string(i) + ",l" + std::to_string(j) + ") 0 1 -1";
      }
    }
    const Instance model(text);
    Database db;
    c__zdbselectrecordstorage(db, nullptr, round % 3);
    for (int i = 12; round >= 3 && i >= 0; i -= 2) db.label(("l" + std::to_string(i)).c_str());
    ASSERT_EQ(c__zdbinitupdate(db, model), 1) << db.error();
    zdbSymbol_t y = db.add("y", 2, ZDB_VARIABLE);
    zdbSymbol_t p = db.add("p", 2);
    std::map<std::string, double> expected;
    int unmatched = 0;
    for (int n = 0; n < 90; ++n) {
      const std::string first = "l" + std::to_string(random() % 12);
      const std::string second = "l" + std::to_string(random() % 13);
      const std::string name = "y(" + first + "," + second + ")";
      if (expected.count(name) != 0) continue;
      expected[name] = n;
      put(db, p, {first.c_str(), second.c_str()}, n);
      unmatched += model.entries().count(name) != 0 ? 0 : 1;
    }
    int noMatch = -1;
    ASSERT_EQ(c__zdbupdatemodelsymbol(db, y, ZDB_UPDATE_LEVEL, p, ZDB_MISSING_KEEP, &noMatch), 1);
    EXPECT_EQ(noMatch, unmatched);
    for (const auto& [name, column] : model.entries()) {
      const double level = expected.count(name) != 0 ? expected[name] : -1;
      EXPECT_EQ(zmiGetVarLOne(model.record(), column), level) << name << " in round " << round;
    }
  }
}

}  // namespace
