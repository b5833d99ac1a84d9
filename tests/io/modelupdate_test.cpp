#include <limits>

#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "scriptedmodel.h"

namespace {

using namespace zdb;

// Preparing an instance, and putting data into it.
struct ModelUpdate : ModelTest {
  AbstractZDBSymbol* data = nullptr;

  ModelUpdate() {
    model.labels = {"a", "b", "c"};
    model.add("x", 5, 1, {{1}, {2}});
    model.add("p_var", 5, 1, {{1}, {2}});
    model.add("_var", 5, 0, {{}});
    model.add("e_var", 6, 1, {{1}, {2}});
    model.add("e", 6, 1, {{1}, {3}});
    model.columns = {{5, 0.5, -8, 80, 1, 1, 0, -9, 90},
                     {6, 0.6, -7, 70, 1, 2, 0, -9, 90},
                     {1, 0.1, -1, 10, 1, 3, 0, -9, 90},
                     {2, 0.2, -2, 20, 1, 4, 0, -9, 90},
                     {3, 0.3, -3, 30, 1, 5, 0, -9, 90}};
    model.rows = {{}, {}, {40, 4, 0, 0, 1, 6, 0, 0, 0}, {50, 5, 0, 0, 1, 7, 0, 0, 0}};
  }

  void prepare() {
    ASSERT_TRUE(db.InitFromDict(model.instance()) && db.InitUpdate(model.instance()))
        << db.lastError();
    model.taken();
    data = add("data", TypeParameter, 1);
  }
  AbstractZDBSymbol* symbol(const char* name) {
    return db.symbols().contains(name) ? db.symbols()[name] : add(name, TypeParameter, 1);
  }
  bool update(const char* name, int action, int updateType, int& noMatch) {
    return db.UpdateSymbolInModel(symbol(name), action, data, updateType, noMatch);
  }
};

TEST_F(ModelUpdate, Preparing_ReadsTheConfigurationAndFixesParameters) {
  ASSERT_TRUE(db.RegisterZMI(model.instance()));
  model.taken();
  ASSERT_TRUE(db.InitUpdate(model.instance())) << db.lastError();
  EXPECT_EQ(db.GetInitFrom(), FROM_ZMI);
  EXPECT_EQ(model.taken(),
            "zrtGetStrOpt(NameSysDir) zstReadConfigGUC(/sys/zrncmpun.txt,/sys/) "
            "zmiSetAltVarLowerOne(2,1) zmiSetAltVarUpperOne(2,1) "
            "zmiSetAltVarLowerOne(3,2) zmiSetAltVarUpperOne(3,2)");
  EXPECT_TRUE(db.InitUpdate(model.instance()));
  EXPECT_EQ(model.taken(), "");
}

TEST_F(ModelUpdate, PreparingAnUnregisteredInstance_RegistersIt) {
  ASSERT_TRUE(db.InitUpdate(model.instance())) << db.lastError();
  EXPECT_EQ(model.taken("zmiPinf zmiMinf"), "zmiPinfSet(inf) zmiMinfSet(-inf)");
  EXPECT_EQ(db.highestLabel(), 3);
}

TEST_F(ModelUpdate, FailedPreparation_CanBeRepeated) {
  ASSERT_TRUE(db.InitFromDict(model.instance()));
  struct Case {
    const char* message;
    void (*spoil)(ScriptedModel&);
  };
  const Case cases[] = {
      {"Could not read configuration file",
       [](ScriptedModel& m) { m.results["zstReadConfigGUC"] = 1; }},
      {"No solver environment available", [](ScriptedModel& m) { m.hasEnvironment = false; }},
  };
  for (const Case& c : cases) {
    c.spoil(model);
    for (int attempt = 0; attempt < 2; ++attempt) {
      expectFailure(db.InitUpdate(model.instance()), c.message);
      EXPECT_EQ(db.GetInitFrom(), FROM_ZMI);
      expectFailure(db.CallSolver("1", nullptr),
                    "No model instance is prepared: call zdbInitUpdate first");
    }
    EXPECT_EQ(loaders::zstLibraryUnload(), 1) << "a configuration was left behind";
    model.install();
    model.results.clear();
    model.hasEnvironment = true;
  }
}

TEST_F(ModelUpdate, OtherSourcesAndInstances_AreRefused) {
  ASSERT_TRUE(db.RegisterZMI(model.instance()));
  int other = 0;
  expectFailure(db.InitUpdate(reinterpret_cast<loaders::zmiRec*>(&other)),
                "The model instance is not the one that the database is registered with");
  ZDB withFile(COMPANION_DIR);
  withFile.InitFromZXF("/nowhere.zxf");
  EXPECT_FALSE(withFile.InitUpdate(model.instance()));
  EXPECT_STREQ(withFile.lastError(), "Database initialized from ZXF cannot sync with model");
}

// ---- update

/// What each action does with entries 0 (found, 7.5), whose level is 5, and 1 (not found): level 6,
/// own bounds -7 and 70, marginal 0.6.
TEST_F(ModelUpdate, Actions_SetWhatTheyAreFor) {
  struct Case {
    const char* name;
    int action;
    const char* found;
    const char* zero;
    const char* base;
  };
  const Case cases[] = {
      {"x", 0, "zmiSetVarLOne(0,7.5) zmiSetAltVarLowerOne(0,7.5) zmiSetAltVarUpperOne(0,7.5)",
       "zmiSetVarLOne(1,0) zmiSetAltVarLowerOne(1,0) zmiSetAltVarUpperOne(1,0)",
       "zmiSetVarLOne(1,6) zmiSetAltVarLowerOne(1,6) zmiSetAltVarUpperOne(1,6)"},
      {"x", 1, "zmiSetAltVarUpperOne(0,7.5)", "zmiSetAltVarUpperOne(1,0) zmiSetVarLOne(1,0)",
       "zmiAltBoundsSet(0) zmiAltBoundsSet(1) zmiSetAltVarUpperOne(1,70)"},
      {"x", 2, "zmiSetAltVarLowerOne(0,7.5) zmiSetVarLOne(0,7.5)", "zmiSetAltVarLowerOne(1,0)",
       "zmiAltBoundsSet(0) zmiAltBoundsSet(1) zmiSetAltVarLowerOne(1,-7)"},
      {"x", 3, "zmiSetAltVarUpperOne(0,7.5) zmiSetAltVarLowerOne(0,7.5) zmiSetVarLOne(0,7.5)",
       "zmiSetAltVarUpperOne(1,0) zmiSetVarLOne(1,0) zmiSetAltVarLowerOne(1,0)",
       "zmiAltBoundsSet(0) zmiAltBoundsSet(1) zmiSetAltVarUpperOne(1,70) "
       "zmiAltBoundsSet(0) zmiAltBoundsSet(1) zmiSetAltVarLowerOne(1,-7)"},
      {"x", 4, "zmiSetVarLOne(0,7.5)", "zmiSetVarLOne(1,0)", "zmiSetVarLOne(1,6)"},
      {"x", 5, "zmiSetSolutionVarRec(0,5,7.5,1,11)", "zmiSetSolutionVarRec(1,6,0,2,12)",
       "zmiSetSolutionVarRec(1,6,0.6,2,12)"},
      {"p", 0, "zmiSetVarLOne(2,7.5) zmiSetAltVarLowerOne(2,7.5) zmiSetAltVarUpperOne(2,7.5)",
       "zmiSetVarLOne(3,0) zmiSetAltVarLowerOne(3,0) zmiSetAltVarUpperOne(3,0)",
       "zmiSetVarLOne(3,2) zmiSetAltVarLowerOne(3,2) zmiSetAltVarUpperOne(3,2)"},
      {"e", 4, "zmiSetEquLOne(2,7.5)", "zmiSetEquLOne(3,0)", "zmiSetEquLOne(3,50)"},
      {"e", 5, "zmiSetSolutionEquRec(2,40,7.5,6,16)", "zmiSetSolutionEquRec(3,50,0,7,17)",
       "zmiSetSolutionEquRec(3,50,5,7,17)"},
  };
  prepare();
  *merge(data, {"a"}) = 7.5;
  const std::vector<ScriptedModel::Entry> columns = model.columns;
  for (const Case& c : cases) {
    const std::string found = c.found;
    for (const int type : {0, 1, 2, 3}) {
      model.columns = columns;
      int noMatch = -1;
      EXPECT_TRUE(update(c.name, c.action, type, noMatch)) << db.lastError();
      EXPECT_EQ(noMatch, 0);
      const std::string missing = type == 2 ? "" : std::string(" ") + (type == 0 ? c.zero : c.base);
      EXPECT_EQ(model.taken(), found + missing) << c.name << " " << c.action << " " << type;
    }
  }
}

TEST_F(ModelUpdate, BaseValues_AreThoseOfThePreparation) {
  prepare();
  model.columns[0].level = 100;
  model.columns[0].altUpper = 1;
  model.altBounds = true;
  int noMatch;
  EXPECT_TRUE(update("x", 4, 1, noMatch));
  EXPECT_EQ(model.taken(), "zmiSetVarLOne(0,5) zmiSetVarLOne(1,6)");
  EXPECT_TRUE(update("x", 1, 1, noMatch));
  EXPECT_EQ(model.taken("zmiSetAlt"), "zmiSetAltVarUpperOne(0,80) zmiSetAltVarUpperOne(1,70)");
}

TEST_F(ModelUpdate, RecordsWithoutAnEntry_AreCounted) {
  prepare();
  for (const char* label : {"b", "c", "elsewhere"}) *merge(data, {label}) = 1;
  int noMatch = -1;
  EXPECT_TRUE(update("x", 4, 2, noMatch));
  EXPECT_EQ(model.taken(), "zmiSetVarLOne(1,1)");
  EXPECT_EQ(noMatch, 2);
  // A symbol that the model does not have meets nothing, which is no failure.
  EXPECT_TRUE(update("q", 99, 2, noMatch));
  EXPECT_EQ(noMatch, 3);
}

TEST_F(ModelUpdate, Values_AreCheckedWhereTheyAreUsed) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  struct Case {
    double value;
    const char* calls;  // null: refused
    const char* message;
  };
  const Case cases[] = {
      {kLibrarySpecialValues[4], "zmiSetVarLOne(1,0)", ""},
      {inf, "zmiSetVarLOne(1,inf)", ""},
      {-inf, "zmiSetVarLOne(1,-inf)", ""},
      {-1.0E305, "zmiSetVarLOne(1,-1e+305)", ""},
      {9.9E299, "zmiSetVarLOne(1,9.9e+299)", ""},
      {1.0E300, nullptr, "Bad value 1e+300"},
      {1.0E305, nullptr, "Bad value 1e+305"},
      {kLibrarySpecialValues[1], nullptr, "Bad value nan"},
  };
  prepare();
  *merge(data, {"a"}) = 3;
  for (const Case& c : cases) {
    *merge(data, {"b"}) = c.value;
    int noMatch = -1;
    EXPECT_EQ(update("x", 4, 2, noMatch), c.calls != nullptr) << c.value;
    EXPECT_EQ(noMatch, c.calls != nullptr ? 0 : -1);
    // What came before the bad value stays.
    const std::string rest = c.calls != nullptr ? std::string(" ") + c.calls : "";
    EXPECT_EQ(model.taken(), "zmiSetVarLOne(0,3)" + rest);
    EXPECT_TRUE(c.calls != nullptr || db.lastError() == std::string(c.message)) << db.lastError();
  }
}

TEST_F(ModelUpdate, WhatDoesNotFit_IsRefusedBeforeAnythingChanges) {
  int noMatch = -1;
  data = add("early", TypeParameter, 1);
  expectFailure(update("x", 0, 2, noMatch),
                "No model instance is registered: call zdbRegisterZMI first");
  ZDB unprepared(MODEL_DIR);
  ASSERT_TRUE(unprepared.InitFromDict(model.instance()));
  AbstractZDBSymbol* scalar = unprepared.AddSymbol("s", 0, TypeParameter, 0, "", nullptr, nullptr);
  AbstractZDBSymbol* universe = unprepared.universe();
  AbstractZDBSymbol* vector =
      unprepared.AddSymbol("v", 1, TypeParameter, 0, "", &universe, nullptr);
  struct Case {
    const char* name;
    int action;
    AbstractZDBSymbol* data;
    const char* message;
  };
  const Case cases[] = {
      {"x", 6, vector, "Invalid actionType, saw 6"},
      {"x", -1, vector, "Invalid actionType, saw -1"},
      {"e", 3, vector, "actionType 3 needs a variable, but e is an equation of the model"},
      {"x", 4, scalar, "Data symbol s has 0 index positions, x has 1 in the model"},
      {"x", 4, vector, "Entry 0 has no base value: call zdbInitUpdate first"},
  };
  model.taken();
  for (const Case& c : cases) {
    EXPECT_FALSE(
        unprepared.UpdateSymbolInModel(unprepared.symbols()[c.name], c.action, c.data, 1, noMatch));
    EXPECT_STREQ(unprepared.lastError(), c.message);
    EXPECT_EQ(model.taken(), "");
  }
  EXPECT_EQ(noMatch, -1);
}

// Keys in any order, numbers of the database and of the dictionary apart, all storages of the data.
TEST_F(ModelUpdate, ManyKeys_MeetTheirRecords) {
  constexpr int n = 40;
  model.labels.clear();
  model.symbols.clear();
  model.columns.clear();
  for (int i = 1; i <= n; ++i) model.labels.push_back("l" + std::to_string(i));
  std::vector<std::vector<int>> keys;
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; j += 3) keys.push_back({i, j});
  }
  model.add("y", 5, 2, keys);
  for (const bool sameOrder : {true, false}) {
    for (const int storage : {0, 1, 2}) {
      ZDB other(MODEL_DIR);
      other.setDefaultStorage(storage);
      int number;
      for (int i = n; i >= 1 && !sameOrder; i -= 2) {
        other.labels().merge(model.labels[static_cast<std::size_t>(i - 1)].c_str(), number);
      }
      ASSERT_TRUE(other.RegisterZMI(model.instance()) && other.InitUpdate(model.instance()));
      AbstractZDBSymbol* all = other.universe();
      AbstractZDBSymbol* domains[] = {all, all};
      AbstractZDBSymbol* y = other.AddSymbol("y", 2, TypeVariable, 0, "", domains, nullptr);
      AbstractZDBSymbol* p = other.AddSymbol("p", 2, TypeParameter, 0, "", domains, nullptr);
      int unmatched = 0;
      for (int i = 1; i <= n; i += 2) {
        for (int j = 1; j <= n; ++j) {
          const std::string first = "l" + std::to_string(i);
          const std::string second = "l" + std::to_string(j);
          const char* key[] = {first.c_str(), second.c_str()};
          *other.MergeRecord(p, key, nullptr).second = 100 * i + j;
          unmatched += (j - 1) % 3 != 0 ? 1 : 0;
        }
      }
      for (auto& column : model.columns) column.level = -1;
      int noMatch = -1;
      ASSERT_TRUE(other.UpdateSymbolInModel(y, 4, p, 2, noMatch)) << other.lastError();
      EXPECT_EQ(noMatch, unmatched);
      for (std::size_t k = 0; k < keys.size(); ++k) {
        const int expected = keys[k][0] % 2 == 1 ? 100 * keys[k][0] + keys[k][1] : -1;
        EXPECT_EQ(model.columns[k].level, expected) << keys[k][0] << " " << keys[k][1];
      }
    }
  }
}

TEST_F(ModelUpdate, Scalars_HaveOneEntry) {
  model.add("s_var", 5, 0, {{}});
  prepare();
  data = add("s", TypeParameter, 0);
  int noMatch = -1;
  EXPECT_TRUE(db.UpdateSymbolInModel(data, 4, data, 0, noMatch));
  EXPECT_EQ(model.taken(), "zmiSetVarLOne(5,0)");
  EXPECT_EQ(noMatch, 0);
  *merge(data, {}) = 8;
  EXPECT_TRUE(db.UpdateSymbolInModel(data, 4, data, 0, noMatch));
  EXPECT_EQ(model.taken(), "zmiSetVarLOne(5,8)");
  EXPECT_EQ(noMatch, 0);
}

}  // namespace
