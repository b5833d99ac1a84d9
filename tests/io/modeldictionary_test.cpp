// Databases that are tied to a model instance, filled from its dictionary, and loaded from it.
#include <functional>
#include <limits>

#include "loaders/zlx.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "modeltest.h"
#include "support/files.h"

namespace {

using namespace zdb::loaders;

struct ModelDictionary : ModelTest {
  testsupport::TemporaryFolder folder;
  const std::string file = folder.path("a.zxf");

  ModelDictionary()
      : ModelTest(
            "col x(a) 3 4 1; col x(c) -inf 9 7; col z -inf inf 0; row cost = 3 1*z -1*x(a);"
            "row e(a,b) <= 30 1*x(a); row e(b,a) >= 31 1*x(c); min z") {
    zmiSetSolutionVarRec(model.record(), model["x(a)"], 1, 2, 0, 0);
    zmiSetSolutionVarRec(model.record(), model["x(c)"], 7, 8, 0, 0);
    zmiSetSolutionEquRec(model.record(), model["cost"], 1.5, 2.5, 0, 0);
    zmiSetSolutionEquRec(model.record(), model["e(a,b)"], 10, 20, 0, 0);
    zmiSetSolutionEquRec(model.record(), model["e(b,a)"], 11, 21, 0, 0);
  }
  /// Has all symbols of the model loaded anew, as after a solve, but without one.
  void unload(const Database& to) {
    spy.answers["zstAlgAllowsModifyProblem"] = spy.answers["zrtCallSolver"] = {};
    EXPECT_EQ(c__zdbcallsolver(to, "clp"), 1) << to.error();
  }
};

TEST_F(ModelDictionary, Registering_SetsTheInfinitiesEvenWithoutADictionary) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  for (const int hasDictionary : {1, 0}) {
    if (hasDictionary == 0) spy.answers["zmiDict"] = {};
    zmiPinfSet(model.record(), 1e21);
    zmiMinfSet(model.record(), -1e21);
    EXPECT_EQ(c__zdbregisterzmi(db, model), hasDictionary);
    EXPECT_EQ(zmiGetVarUpperOne(model.record(), model["z"]), inf);
    EXPECT_EQ(zmiGetVarLowerOne(model.record(), model["z"]), -inf);
  }
  EXPECT_EQ(db.error(), "No dictionary available");
  Database other;
  EXPECT_REFUSED(other, c__zdbinitupdate(other, model), "No dictionary available");
  EXPECT_EQ(c__zdbinitfromzxf(other, "/none"), 0) << "no source is attached yet";
  EXPECT_EQ(other.error().rfind("Error opening", 0), 0u);
}

TEST_F(ModelDictionary, LibrariesThatAreMissing_AreNamed) {
  const struct {
    int (*unload)();
    const char* message;
    int (*call)(zdbHandle_t, void*);
  } cases[] = {
      {zmiLibraryUnload, "Error in zmiGetReady: Could not load shared library /nowhere/libzkit",
       c__zdbregisterzmi},
      {zlxLibraryUnload, "Error in zlxGetReady: Could not load shared library /nowhere/libzlxm",
       c__zdbinitfromdict},
      {zrtLibraryUnload, "Could not load shared library /nowhere/libzkit", c__zdbinitupdate},
      {zstLibraryUnload, "Could not load shared library /nowhere/libzkit", c__zdbinitupdate},
  };
  for (const auto& c : cases) {
    Database elsewhere;
    zdbfree(&elsewhere.handle);
    ASSERT_EQ(zdbcreated(&elsewhere.handle, "/nowhere", nullptr, 0), 1);
    if (c.call == c__zdbinitupdate) {
      ASSERT_EQ(c__zdbregisterzmi(elsewhere, model), 1);
    }
    ASSERT_EQ(c.unload(), 1);
    EXPECT_EQ(c.call(elsewhere, model), 0);
    EXPECT_EQ(elsewhere.error().rfind(c.message, 0), 0u) << elsewhere.error();
    Spy::comeBetween();
  }
}

TEST_F(ModelDictionary, EmptyDatabase_GetsLabelsAndSymbolsButNoRecords) {
  c__zdbselectrecordstorage(db, nullptr, ZDB_STORAGE_VECTOR);
  ASSERT_EQ(c__zdbinitfromdict(db, model), 1) << db.error();
  EXPECT_EQ(db.info(symbolOf(db, "x"), ZDB_SYMBOL_STORAGE), ZDB_STORAGE_VECTOR);
  EXPECT_EQ(describe(db),
            "a c b \n"
            "0 1 2 1 x 'about x' *Symbol x not initialized from ZXF or ZMI: 3\n"
            "1 0 2 2 z 'about z'Symbol z not initialized from ZXF or ZMI: 3\n"
            "2 0 3 3 cost 'about cost'Symbol cost not initialized from ZXF or ZMI: 3\n"
            "3 2 3 4 e 'about e' * *Symbol e not initialized from ZXF or ZMI: 3\n");
}

TEST_F(ModelDictionary, SymbolsOfTheDatabase_AreKeptWhenTheyFit) {
  zdbSymbol_t x = db.add("X", 1, ZDB_VARIABLE, 9);
  db.add("mine", 3);
  ASSERT_EQ(c__zdbinitfromdict(db, model), 1) << db.error();
  EXPECT_EQ(symbolOf(db, "x"), x);
  EXPECT_EQ(describe(db, x), "0 1 2 9 X '' *\n");
  EXPECT_EQ(db.info(symbolOf(db, "z"), ZDB_SYMBOL_NUMBER), 2);
}

TEST_F(ModelDictionary, Conflicts_AreReportedInOrderAndKeepWhatIsThere) {
  const auto with = [](const char* name, int type, int dim) {
    return [=](const Database& to) { to.add(name, dim, type); };
  };
  const auto alone = [](const Database&) {};
  const auto withSource = [](const Database& to) { c__zdbinitfromzxf(to, "/none"); };
  const struct {
    const char* message;
    std::function<void(const Database&)> prepare;
    int labels;  // afterwards
    int symbols;
    const char* answering = "";
    Spy::Answer answer = {};
  } cases[] = {
      {"Uels present. Cannot load Uels from dictionary.",
       [&](const Database& to) {
         withSource(to);
         to.label("q");
       },
       1, 0},
      {"Database incorrectly initialized.", withSource, 0, 0},
      {"Variable/Equation symbol y does not exist in model", with("y", ZDB_VARIABLE, 1), 3, 1},
      {"Variable/Equation symbol f does not exist in model", with("f", ZDB_EQUATION, 0), 3, 1},
      {"Mismatch in dimension for symbol e", with("e", ZDB_EQUATION, 1), 3, 4},
      {"Mismatch in type for symbol cost", with("cost", ZDB_VARIABLE, 0), 3, 3},
      {"Mismatch in type for symbol x", with("x", ZDB_PARAMETER, 1), 3, 1},
      {"Mismatch in dimension for symbol x", with("x", ZDB_PARAMETER, 2), 3, 1},
      {"No dictionary available", alone, 0, 0, "zmiDict"},
      {"ZMI symbol type not variable or equation of symbol x", alone, 3, 0, "zlxSymType", {4}},
      {"Dimension of symbol x must be between 0 and 20 (saw 21)", alone, 3, 0, "zlxSymDim", {21}},
      {"Label with single and double quote not allowed >a'\"<",
       alone,
       0,
       0,
       "zlxUelLabel",
       {1, "a'\""}},
  };
  for (const auto& c : cases) {
    Database other;
    c.prepare(other);
    spy.answers = {{c.answering, c.answer}};
    const std::string trace = outputOf([&] {
      c__zdbsetdebug(nullptr, 1);
      EXPECT_EQ(c__zdbinitfromdict(other, model), 0);
      c__zdbsetdebug(nullptr, 0);
    });
    EXPECT_EQ(other.error(), c.message);
    EXPECT_NE(trace.find(std::string("---- Entering InitFromDict ----\n  ") + c.message),
              std::string::npos)
        << trace;
    int counts[2] = {-1, -1};
    c__zdbinfo(other, ZDB_INFO_LABELS, &counts[0], nullptr, nullptr);
    c__zdbinfo(other, ZDB_INFO_SYMBOLS, &counts[1], nullptr, nullptr);
    EXPECT_TRUE(counts[0] == c.labels && counts[1] == c.symbols)
        << c.message << ": " << counts[0] << " " << counts[1];
  }
}

TEST_F(ModelDictionary, Records_ComeFromTheInstanceOrGoFromThereIntoAFile) {
  spy.answers = {{"zmiGetVarScaleOne", {5}}, {"zmiGetEquScaleOne", {6}}};
  prepare(db);
  ASSERT_EQ(c__zdbwritezxf(db, file.c_str(), 0), 1) << db.error();
  Database read;
  ASSERT_EQ(c__zdbinitfromzxf(read, file.c_str()), 1);
  const struct {
    const char* name;
    const char* records;
  } cases[] = {{"x", " a=1/2/3/4/5 c=7/8/-inf/9/5"},
               {"z", " =0/0/-inf/inf/5"},
               {"cost", " =1.5/2.5/3/3/6"},
               {"e", " a.b=10/20/-inf/30/6 b.a=11/21/-inf/31/6"}};
  for (const auto& c : cases) {
    EXPECT_EQ(recordsOf(db, c.name), c.records);
    EXPECT_EQ(recordsOf(read, c.name), c.records);
  }
}

TEST_F(ModelDictionary, EquationType_GivesTheBounds) {
  const char* bounds[] = {"30/30", "30/inf",  "-inf/30", "-inf/inf",
                          "30/30", "-inf/30", "30/30",   "-inf/inf"};
  for (int type = 0; type < 8; ++type) {
    spy.answers["zmiGetEquTypeOne"] = {static_cast<double>(type)};
    Database other;
    prepare(other);
    const std::string first = " a.b=10/20/" + std::string(bounds[type]) + "/1";
    EXPECT_EQ(recordsOf(other, "e").substr(0, first.size()), first);
  }
}

/// The database knows the labels in another order, and one of them not at all.
TEST_F(ModelDictionary, LabelsInAnotherOrder_AreTranslatedAndTheRecordsSorted) {
  for (const int storage : {0, 1, 2}) {
    Database other;
    c__zdbselectrecordstorage(other, nullptr, storage);
    for (const char* label : {"mine", "C", "b"}) other.label(label);
    zdbSymbol_t x = other.add("x", 1, ZDB_VARIABLE);
    zdbSymbol_t e = other.add("e", 2, ZDB_EQUATION);
    prepare(other, false);
    EXPECT_EQ(other.label("A"), 4) << "which preparing has added";
    unload(other);
    ASSERT_EQ(c__zdbwritezxf(other, file.c_str(), 0), 1) << other.error();
    Database read;
    ASSERT_EQ(c__zdbinitfromzxf(read, file.c_str()), 1);
    EXPECT_EQ(recordsOf(read, "x"), " C=7/8/-inf/9/1 a=1/2/3/4/1");
    EXPECT_EQ(recordsOf(read, "e"), " b.a=11/21/-inf/31/1 a.b=10/20/-inf/30/1");
    // Writing has loaded nothing: what comes now is newer.
    zmiSetSolutionEquRec(model.record(), model["e(a,b)"], 10 + storage, 20, 0, 0);
    EXPECT_EQ(records(other, x), recordsOf(read, "x"));
    EXPECT_EQ(records(other, e),
              " b.a=11/21/-inf/31/1 a.b=1" + std::to_string(storage) + "/20/-inf/30/1");
    zmiSetSolutionEquRec(model.record(), model["e(a,b)"], 10, 20, 0, 0);
  }
}

TEST_F(ModelDictionary, LabelNumberThatTheDictionaryDoesNotHave_FailsWhatMeetsIt) {
  db.label("b");
  zdbSymbol_t e = db.add("e", 2, ZDB_EQUATION);
  spy.answers["zlxNUels"] = {2};  // and the entries of e have label 3
  prepare(db, false);
  unload(db);
  EXPECT_EQ(records(db, e), "The dictionary gives symbol e a label that it does not have");
  int noMatch = -1;
  EXPECT_REFUSED(db, c__zdbupdatemodelsymbol(db, e, ZDB_UPDATE_LEVEL, db.add("p", 2), 0, &noMatch),
                 "The dictionary gives entry 1 a label that it does not have");
}

TEST_F(ModelDictionary, SymbolThatTheModelDoesNotHaveLikeThis_FailsToLoad) {
  attachRefusals(db);
  zdbSymbol_t symbols[] = {db.add("y", 1, ZDB_VARIABLE), db.add("e", 3, ZDB_EQUATION),
                           db.add("x", 1), db.add("cost", 0, ZDB_EQUATION)};
  prepare(db, false);
  EXPECT_EQ(records(db, symbols[0]), "Symbol y does not exist in model");
  EXPECT_EQ(records(db, symbols[1]), "Mismatch in dimension for symbol e");
  EXPECT_EQ(records(db, symbols[2]), "Mismatch in type for symbol x");
  EXPECT_EQ(records(db, symbols[2]), "") << "it is not tried again";
  EXPECT_EQ(records(db, symbols[3]), " =1.5/2.5/3/3/1");
}

}  // namespace
