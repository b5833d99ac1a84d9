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
  const std::string file = folder.path("a.zxf");

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
  /// Has all symbols of the model loaded anew, as after a solve, but without one.
  void unload() {
    spy.answers["zstAlgAllowsModifyProblem"] = spy.answers["zrtCallSolver"] = {};
    EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
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
  Database other;
  EXPECT_EQ(said(other, c__zdbinitupdate(other, instance)), "No dictionary available");
  EXPECT_EQ(c__zdbinitfromzxf(other, "/none"), 0);
  EXPECT_EQ(other.error().rfind("Error opening", 0), 0u) << "no source is attached yet";
}

TEST_F(ModelDictionary, LibrariesThatAreMissing_AreNamed) {
  const struct {
    int (*unload)();
    int (*call)(zdbHandle_t, void*);
    const char* message;
  } cases[] = {
      {zmiLibraryUnload, c__zdbregisterzmi, "Error in zmiGetReady: %/nowhere/libzkitdclib64.so"},
      {zlxLibraryUnload, c__zdbinitfromdict, "Error in zlxGetReady: %/nowhere/libzlxmdclib64.so"},
      {zrtLibraryUnload, c__zdbinitupdate, "%/nowhere/libzkitdclib64.so"},
      {zstLibraryUnload, c__zdbinitupdate, "%/nowhere/libzkitdclib64.so"},
  };
  for (const auto& c : cases) {
    zdbfree(&db.handle);
    zdbcreated(&db.handle, "/nowhere", nullptr, 0);
    EXPECT_EQ(c.call == c__zdbinitupdate ? c__zdbregisterzmi(db, instance) : 1, 1);
    ASSERT_EQ(c.unload(), 1);
    std::string message = c.message;
    message.replace(message.find('%'), 1, "Could not load shared library ");
    EXPECT_EQ(said(db, c.call(db, instance)).substr(0, message.size()), message);
    Spy::comeBetween();
  }
}

TEST_F(ModelDictionary, LabelsAndSymbols_AreTakenOverButRecordsNotYet) {
  spy.answers = {{"zlxSymUserInfo", {7}}, {"zlxSymText", {1, "about"}}};
  for (const int storage : {0, 1, 2}) {
    Database other;
    c__zdbselectrecordstorage(other, nullptr, storage);
    other.add("X", 1, ZDB_VARIABLE, 9);
    other.add("mine", 3);
    ASSERT_EQ(said(other, c__zdbinitfromdict(other, instance)), "");
    EXPECT_EQ(other.info(symbolOf(other, "e"), ZDB_SYMBOL_STORAGE), storage);
    EXPECT_EQ(describe(other),
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
  const struct {
    const char* message;
    const char* counts;  ///< labels and symbols, afterwards
    const char* name;    ///< of a symbol that is there; of a label for type `source`, "" for none
    int type;
    int dim;
    const char* answering = "";
    Spy::Answer answer = {};
  } cases[] = {
      {"Uels present. Cannot load Uels from dictionary.", "1 0", "q", source, 0},
      {"Database incorrectly initialized.", "0 0", "", source, 0},
      {"Variable/Equation symbol y does not exist in model", "3 1", "y", ZDB_VARIABLE, 1},
      {"Variable/Equation symbol f does not exist in model", "3 1", "f", ZDB_EQUATION, 0},
      {"Mismatch in dimension for symbol e", "3 4", "e", ZDB_EQUATION, 1},
      {"Mismatch in type for symbol e0", "3 3", "e0", ZDB_VARIABLE, 0},
      {"Mismatch in type for symbol x", "3 1", "x", ZDB_PARAMETER, 1},
      {"Mismatch in dimension for symbol x", "3 1", "x", ZDB_PARAMETER, 2},
      {"No dictionary available", "0 1", "s", ZDB_SET, 1, "zmiDict"},
      {"ZMI symbol type not variable or equation of symbol x",
       "3 1",
       "s",
       ZDB_SET,
       1,
       "zlxSymType",
       {4}},
      {"Dimension of symbol x must be between 0 and 20 (saw 21)",
       "3 1",
       "s",
       ZDB_SET,
       1,
       "zlxSymDim",
       {21}},
      {"Label with single and double quote not allowed >a'\"<",
       "0 1",
       "s",
       ZDB_SET,
       1,
       "zlxUelLabel",
       {1, "a'\""}},
  };
  for (const auto& c : cases) {
    Database other;
    if (c.type != source)
      other.add(c.name, c.dim, c.type);
    else if (c__zdbinitfromzxf(other, "/none") == 0 && *c.name != '\0')
      other.label(c.name);
    spy.answers = {{c.answering, c.answer}};
    const std::string trace = outputOf([&] {
      c__zdbsetdebug(nullptr, 1);
      EXPECT_EQ(c__zdbinitfromdict(other, instance), 0);
      c__zdbsetdebug(nullptr, 0);
    });
    EXPECT_EQ(other.error(), c.message);
    const std::string shown = std::string("---- Entering InitFromDict ----\n  ") + c.message;
    EXPECT_NE(trace.find(shown), std::string::npos) << trace;
    int labels = -1;
    int symbols = -1;
    c__zdbinfo(other, ZDB_INFO_LABELS, &labels, nullptr, nullptr);
    c__zdbinfo(other, ZDB_INFO_SYMBOLS, &symbols, nullptr, nullptr);
    EXPECT_EQ(std::to_string(labels) + " " + std::to_string(symbols), c.counts) << c.message;
  }
}

TEST_F(ModelDictionary, Records_ComeFromTheInstanceOrGoFromThereIntoAFile) {
  const char* bounds[] = {"30/30", "30/inf",  "-inf/30", "-inf/inf",
                          "30/30", "-inf/30", "30/30",   "-inf/inf"};
  spy.answers = {{"zmiGetVarScaleOne", {5}}, {"zmiGetEquScaleOne", {6}}};
  for (int type = -1; type < 8; ++type) {  // -1: the rows' own, of which the first counts
    if (type >= 0) spy.answers["zmiGetEquTypeOne"] = {static_cast<double>(type)};
    const std::string first = bounds[type < 0 ? ZKIT_LESS : type];
    std::string second = first;
    for (std::size_t at; (at = second.find("30")) != std::string::npos;) second[at + 1] = '1';
    Database linked;
    prepare(linked);
    EXPECT_EQ(said(linked, c__zdbwritezxf(linked, file.c_str(), 0)), "");
    Database read;
    EXPECT_EQ(said(read, c__zdbinitfromzxf(read, file.c_str())), "");
    for (const Database* of : {&linked, &read}) {
      EXPECT_EQ(records(*of, symbolOf(*of, "x")), " a=1/2/3/4/5 c=7/8/-inf/9/5");
      EXPECT_EQ(records(*of, symbolOf(*of, "z")), " =0/0/-inf/inf/5");
      EXPECT_EQ(records(*of, symbolOf(*of, "e")),
                " a.b=10/20/" + first + "/6 b.a=11/21/" + second + "/6");
    }
  }
}

/// The database knows the labels in another order, and one of them not at all.
TEST_F(ModelDictionary, LabelsInAnotherOrder_AreTranslatedAndTheRecordsSorted) {
  for (const int storage : {0, 1, 2}) {
    zdbfree(&db.handle);
    zdbcreate(&db.handle, nullptr, 0);
    c__zdbselectrecordstorage(db, nullptr, storage);
    for (const char* label : {"mine", "C", "b"}) db.label(label);
    db.add("x", 1, ZDB_VARIABLE);
    db.add("e", 2, ZDB_EQUATION);
    prepare(db, false);
    EXPECT_EQ(db.label("A"), 4) << "which preparing has added";
    unload();
    EXPECT_EQ(said(db, c__zdbwritezxf(db, file.c_str(), 0)), "");
    set("x(a)", storage, 2);
    Database read;
    EXPECT_EQ(said(read, c__zdbinitfromzxf(read, file.c_str())), "");
    EXPECT_EQ(describe(read),
              "mine C b a \n0 1 2 0 x '' * C=7/8/-inf/9/1 a=1/2/3/4/1\n"
              "1 2 3 0 e '' * * b.a=11/21/-inf/31/1 a.b=10/20/-inf/30/1\n");
    const std::string level = std::to_string(storage);
    EXPECT_EQ(records(db, symbolOf(db, "x")), " C=7/8/-inf/9/1 a=" + level + "/2/3/4/1")
        << "writing has loaded nothing";
    EXPECT_EQ(records(db, symbolOf(db, "e")), records(read, symbolOf(read, "e")));
    set("x(a)", 1, 2);
  }
}

TEST_F(ModelDictionary, LabelNumberThatTheDictionaryDoesNotHave_FailsWhatMeetsIt) {
  db.label("b");
  zdbSymbol_t e = db.add("e", 2, ZDB_EQUATION);
  spy.answers["zlxNUels"] = {2};  // and the keys of e have label 3
  prepare(db, false);
  unload();
  EXPECT_EQ(records(db, e), "The dictionary gives symbol e a label that it does not have");
  int noMatch = -1;
  EXPECT_EQ(said(db, c__zdbupdatemodelsymbol(db, e, ZDB_UPDATE_LEVEL, db.add("p", 2), 0, &noMatch)),
            "The dictionary gives entry 1 a label that it does not have");
}

TEST_F(ModelDictionary, SymbolThatTheModelDoesNotHaveLikeThis_FailsToLoadOnce) {
  attachRefusals(db);
  zdbSymbol_t y = db.add("y", 1, ZDB_VARIABLE);
  zdbSymbol_t e = db.add("e", 3, ZDB_EQUATION);
  zdbSymbol_t x = db.add("x", 1);
  zdbSymbol_t good = db.add("e0", 0, ZDB_EQUATION);
  prepare(db, false);
  EXPECT_EQ(records(db, y), "Symbol y does not exist in model");
  EXPECT_EQ(records(db, e), "Mismatch in dimension for symbol e");
  EXPECT_EQ(records(db, x) + records(db, x), "Mismatch in type for symbol x");
  EXPECT_EQ(records(db, good), " =1.5/2.5/3/3/1");
}

}  // namespace
