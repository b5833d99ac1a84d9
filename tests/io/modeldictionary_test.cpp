// Databases that are tied to a model instance, filled from its dictionary, and loaded from it.
#include <cmath>

#include "loaders/zlx.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "spy.h"

namespace {

using namespace zdb::loaders;

struct ModelDictionary : ModelTest {
  testsupport::TemporaryFolder folder;
  Database read;  ///< from the file that `write` makes

  ModelDictionary()
      : ModelTest(
            "x(a) 3 4; x(c) -inf 9; z -inf inf; e0: z - x(a) = 3;"
            "e(a,b): x(a) <= 30; e(b,a): x(c) >= 31") {
    set("x(a)", 1, 2);
    set("x(c)", 7, 8);
    set("e0", 1.5, 2.5);
    set("e(a,b)", 10, 20);
    set("e(b,a)", 11, 21);
  }
  void write() {
    const std::string file = folder.path("a.zxf");
    EXPECT_EQ(said(db, c__zdbwritezxf(db, file.c_str(), 0)), "");
    zdbfree(&read.handle);
    zdbcreate(&read.handle, nullptr, 0);
    EXPECT_EQ(said(read, c__zdbinitfromzxf(read, file.c_str())), "");
  }
  /// Has all symbols of the model loaded anew, as after a solve, but without one.
  void unload() {
    spy.answers["zstAlgAllowsModifyProblem"] = spy.answers["zrtCallSolver"] = {};
    EXPECT_EQ(solve("clp"), "");
  }
};

TEST_F(ModelDictionary, Registering_SetsTheInfinitiesEvenWithoutADictionary) {
  for (const char* message : {"", "No dictionary available"}) {
    if (*message != '\0') spy.answers["zmiDict"] = {};
    zmiPinfSet(record, 1e21);
    zmiMinfSet(record, -1e21);
    EXPECT_EQ(said(db, c__zdbregisterzmi(db, instance)), message);
    EXPECT_EQ(zmiGetVarUpperOne(record, model["z"]), INFINITY);
    EXPECT_EQ(zmiGetVarLowerOne(record, model["z"]), -INFINITY);
  }
  renew();
  EXPECT_EQ(prepare(), "No dictionary available");
  EXPECT_EQ(c__zdbinitfromzxf(db, "/none"), 0);
  EXPECT_TRUE(db.error().starts_with("Error opening")) << "no source is attached yet";
}

TEST_F(ModelDictionary, LibrariesThatAreMissing_AreNamed) {
  const std::string kit = "Could not load shared library /nowhere/libzkitdclib64.so";
  const std::string zlx = "Could not load shared library /nowhere/libzlxmdclib64.so";
  const auto expectMissing = [this](int (*unloadLibrary)(), int (*call)(zdbHandle_t, void*),
                                    const std::string& message) {
    EXPECT_EQ(unloadLibrary(), 1);
    EXPECT_TRUE(said(db, call(db, instance)).starts_with(message)) << db.error();
    Spy::comeBetween();
  };
  renew("/nowhere");
  expectMissing(zmiLibraryUnload, c__zdbregisterzmi, "Error in zmiGetReady: " + kit);
  expectMissing(zlxLibraryUnload, c__zdbinitfromdict, "Error in zlxGetReady: " + zlx);
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, instance)), "");
  expectMissing(zrtLibraryUnload, c__zdbinitupdate, kit);
  expectMissing(zstLibraryUnload, c__zdbinitupdate, kit);
}

TEST_F(ModelDictionary, LabelsAndSymbols_AreTakenOverButRecordsNotYet) {
  spy.answers = {{"zlxSymUserInfo", {7}}, {"zlxSymText", {1, "about"}}};
  for (const int storage : {0, 1, 2}) {
    renew();
    c__zdbselectrecordstorage(db, nullptr, storage);
    db.add("X", 1, ZDB_VARIABLE, 9);
    db.add("mine", 3);
    EXPECT_EQ(takeDictionary(), "");
    EXPECT_EQ(db.info(symbolOf(db, "e"), ZDB_SYMBOL_STORAGE), storage);
    EXPECT_EQ(describe(db),
              "a c b \n"
              "0 1 2 9 X '' *\n"
              "1 3 1 0 mine '' * * *\n"
              "2 0 2 7 z 'about'Symbol z not initialized from ZXF or ZMI: 3\n"
              "3 0 3 7 e0 'about'Symbol e0 not initialized from ZXF or ZMI: 3\n"
              "4 2 3 7 e 'about' * *Symbol e not initialized from ZXF or ZMI: 3\n");
  }
}

TEST_F(ModelDictionary, Conflicts_AreReportedInOrderAndKeepWhatIsThere) {
  constexpr int source = -1;
  const std::string none = "Variable/Equation symbol ";
  const struct {
    std::string message;
    int labels;  ///< afterwards, and symbols
    int symbols;
    const char* name;  ///< of a symbol that is there; for type `source` of a label, "" for none
    int type;
    int dim;
    const char* answering = "";
    Spy::Answer answer = {};
  } cases[] = {
      {"Uels present. Cannot load Uels from dictionary.", 1, 0, "q", source, 0},
      {"Database incorrectly initialized.", 0, 0, "", source, 0},
      {none + "y does not exist in model", 3, 1, "y", ZDB_VARIABLE, 1},
      {none + "f does not exist in model", 3, 1, "f", ZDB_EQUATION, 0},
      {"Mismatch in dimension for symbol e", 3, 4, "e", ZDB_EQUATION, 1},
      {"Mismatch in type for symbol e0", 3, 3, "e0", ZDB_VARIABLE, 0},
      {"Mismatch in type for symbol x", 3, 1, "x", ZDB_PARAMETER, 1},
      {"Mismatch in dimension for symbol x", 3, 1, "x", ZDB_PARAMETER, 2},
      {"No dictionary available", 0, 1, "s", ZDB_SET, 1, "zmiDict"},
      {"ZMI symbol type not variable or equation of symbol x", 3, 1, "s", ZDB_SET, 1, "zlxSymType"},
      {"Dimension of symbol x must be between 0 and 20 (saw 21)",
       3,
       1,
       "s",
       ZDB_SET,
       1,
       "zlxSymDim",
       {21}},
      {"Label with single and double quote not allowed >a'\"<",
       0,
       1,
       "s",
       ZDB_SET,
       1,
       "zlxUelLabel",
       {1, "a'\""}},
  };
  for (const auto& c : cases) {
    renew();
    if (c.type != source) {
      db.add(c.name, c.dim, c.type);
    } else if (c__zdbinitfromzxf(db, "/none") == 0 && *c.name != '\0') {
      db.label(c.name);
    }
    spy.answers = {{c.answering, c.answer}};
    const std::string trace = outputOf([&] {
      c__zdbsetdebug(nullptr, 1);
      EXPECT_EQ(takeDictionary(), c.message);
      c__zdbsetdebug(nullptr, 0);
    });
    const std::string steps = "  ---- Entering InitFromDict ----\n  " + c.message;
    EXPECT_NE(trace.find(steps), std::string::npos) << trace;
    int labels = -1;
    int symbols = -1;
    c__zdbinfo(db, ZDB_INFO_LABELS, &labels, nullptr, nullptr);
    c__zdbinfo(db, ZDB_INFO_SYMBOLS, &symbols, nullptr, nullptr);
    EXPECT_EQ(labels * 10 + symbols, c.labels * 10 + c.symbols) << c.message;
  }
}

TEST_F(ModelDictionary, Records_ComeFromTheInstanceOrGoFromThereIntoAFile) {
  const char* bounds[][2] = {
      {"30/30", "31/31"}, {"30/inf", "31/inf"}, {"-inf/30", "-inf/31"}, {"-inf/inf", "-inf/inf"}};
  const int of[] = {0, 1, 2, 3, 0,
                    2, 0, 3, 2};  // types 0 to 7, last the rows' own: the first's counts
  spy.answers = {{"zmiGetVarScaleOne", {5}}, {"zmiGetEquScaleOne", {6}}};
  for (int type = 0; type <= 8; ++type) {
    spy.answers["zmiGetEquTypeOne"] = {static_cast<double>(type)};
    if (type == 8) spy.answers.erase("zmiGetEquTypeOne");
    const auto [first, second] = bounds[of[type]];
    renew();
    EXPECT_EQ(link(), "");
    write();
    for (const Database* from : {&db, &read}) {
      EXPECT_EQ(records(*from, "x"), " a=1/2/3/4/5 c=7/8/-inf/9/5");
      EXPECT_EQ(records(*from, "z"), " =0/0/-inf/inf/5");
      EXPECT_EQ(records(*from, "e"),
                std::string(" a.b=10/20/") + first + "/6 b.a=11/21/" + second + "/6");
    }
  }
}

/// The database knows the labels in another order, and one of them not at all.
TEST_F(ModelDictionary, LabelsInAnotherOrder_AreTranslatedAndTheRecordsSorted) {
  for (const int storage : {0, 1, 2}) {
    renew();
    c__zdbselectrecordstorage(db, nullptr, storage);
    for (const char* label : {"mine", "C", "b"}) db.label(label);
    db.add("x", 1, ZDB_VARIABLE);
    db.add("e", 2, ZDB_EQUATION);
    EXPECT_EQ(prepare(), "");
    EXPECT_EQ(db.label("A"), 4) << "which preparing has added";
    unload();
    write();
    set("x(a)", storage, 2);  // and writing has loaded nothing
    EXPECT_EQ(records(db, "x"), " C=7/8/-inf/9/1 a=" + std::to_string(storage) + "/2/3/4/1");
    EXPECT_EQ(records(db, "e"), " b.a=11/21/-inf/31/1 a.b=10/20/-inf/30/1");
    EXPECT_EQ(records(read, "x"), " C=7/8/-inf/9/1 a=1/2/3/4/1");
    EXPECT_EQ(records(read, "e"), records(db, "e"));
    set("x(a)", 1, 2);
  }
}

TEST_F(ModelDictionary, CopyOfTheDatabase_HasWhatIsLoadedAndMayLoadTheRest) {
  EXPECT_EQ(takeDictionary(), "");
  Database unlinked;
  EXPECT_EQ(said(unlinked, c__zdbinitfromdb(unlinked, db)), "");
  EXPECT_EQ(prepare(), "");
  EXPECT_EQ(records(db, "z"), " =0/0/-inf/inf/1");
  Database copy;
  EXPECT_EQ(said(copy, c__zdbinitfromdb(copy, db)), "");
  EXPECT_EQ(records(copy, "z"), " =0/0/-inf/inf/1");
  EXPECT_EQ(records(copy, "e0"), "Symbol e0 not initialized from ZXF or ZMI: 3");
  for (Database* of : {&copy, &unlinked}) {
    EXPECT_EQ(said(*of, c__zdbinitupdate(*of, instance)), "");
    EXPECT_EQ(records(*of, "x"), " a=1/2/3/4/1 c=7/8/-inf/9/1");
  }
}

TEST_F(ModelDictionary, LabelNumberThatTheDictionaryDoesNotHave_FailsWhatMeetsIt) {
  db.label("b");
  db.add("e", 2, ZDB_EQUATION);
  db.add("p", 2);
  spy.answers["zlxNUels"] = {2};  // and the keys of e have label 3
  EXPECT_EQ(prepare(), "");
  unload();
  EXPECT_EQ(records(db, "e"), "The dictionary gives symbol e a label that it does not have");
  EXPECT_EQ(update("e", ZDB_UPDATE_LEVEL, "p", ZDB_MISSING_ZERO),
            "The dictionary gives entry 1 a label that it does not have");
}

TEST_F(ModelDictionary, SymbolThatTheModelDoesNotHaveLikeThis_FailsToLoadForGood) {
  EXPECT_EQ(takeDictionary(), "");
  EXPECT_EQ(said(db, c__zdbinitfromzxf(db, "a")),
            "Database has been initialized, cannot initialize from a");
  EXPECT_EQ(prepare(), "");
  const kittest::Model otherModel("x(b,a) 0 1; e(b,a): x(b,a) >= 0; z: x(b,a) >= 2");
  const kittest::Instance other(otherModel);
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, other)), "");
  EXPECT_EQ(records(db, "e0"), "Symbol e0 does not exist in model");
  EXPECT_EQ(records(db, "x"), "Mismatch in dimension for symbol x");
  EXPECT_EQ(records(db, "z"), "Mismatch in type for symbol z");
  EXPECT_EQ(records(db, "z"), "Mismatch in type for symbol z");
  EXPECT_EQ(records(db, "e"), " b.a=0/0/0/inf/1");
}

}  // namespace
