// Solving a prepared instance again and again, with clp (number 1), cbc (2) and glpk (3).
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "spy.h"

namespace {

using namespace zdb::loaders;

// Calls of which the order is laid down; a step of a solver is followed by its number.
const std::string kStored =
    "zrtTerminateClear() zmiViewStore() zmiModelStatSet(13) zmiSolveStatSet(13) ";
const std::string kRestored = "zmiViewRestore() ";

std::string alg(const char* step, int solver) {
  return std::string("zstAlg") + step + "(" + std::to_string(solver) + ") ";
}
std::string called(int solver) {
  return alg("CallSolver", solver) + kRestored;
}
std::string hot(int solver) {
  return kStored + alg("ModifyProblem", solver) + called(solver);
}
std::string plain(const std::string& solver) {
  return "zrtCallSolver(," + solver + ",5,0,2e+300,2e+300,2e+300,,,2100000000,2100000000,null) ";
}

/// z is 2 x(a) + p x(b) + y / 2 + 2, and 18.5 with p = 3, 10.5 with p = 1, when it is as small as
/// x(a) + x(b) + y >= 10 allows.
struct ModelSolve : ModelTest {
  zdbSymbol_t p = nullptr;

  ModelSolve()
      : ModelTest(
            "x(a) 0 6 5; x(b) 0 9 2; p_var -inf inf 3; int y 0 3 1; z -inf inf; min z;"
            "cost: z - 2 x(a) - p_var*x(b) - 0.5 y - 2 = 0; need: x(a) + x(b) + y - 1 >= 9") {
    prepare(db);
    p = db.add("p", 0);
  }
  std::string created(int solver) const {
    char folder[ZKIT_TEXT_SIZE];
    zrtGetStrOpt(static_cast<zrtRec*>(zmiEnvironment(record)), "NameSysDir", folder);
    return kStored + "zstAlgCreate(" + std::to_string(solver) + "," + folder + ",256) ";
  }
  std::string made(int solver) const {
    return created(solver) + alg("ReadyAPI", solver) + called(solver);
  }
  void update(const char* name, int action, const char* with, const Labels& key, double value) {
    zdbSymbol_t data = symbolOf(db, with);
    put(db, data, key, value);
    int noMatch = -1;
    zdbSymbol_t symbol = symbolOf(db, name);
    EXPECT_EQ(said(db, c__zdbupdatemodelsymbol(db, symbol, action, data, 2, &noMatch)), "");
    EXPECT_EQ(noMatch, 0);
  }
  double level(const char* name) const { return zmiGetVarLOne(record, model[name]); }
};

TEST_F(ModelSolve, SequenceOfSolves_MakesKeepsAndFreesSolvers) {
  const std::string clear = "zrtTerminateClear() ";
  const std::string log = "*** Hotstart failed! Falling back to warm start...";
  const struct {
    const char* solver;
    std::string calls;
    const char* failing = "";
    Spy::Answer answer = {};
    const char* message = "";
  } steps[] = {
      {"none", "", "", {}, "Invalid solver name: none"},
      {"clp", made(1)},
      {"CLP", hot(1)},
      {"glpk", alg("Free", 1) + made(3)},
      {"glpk", hot(3)},
      {"none", "", "", {}, "Invalid solver name: none"},
      // One that cannot take changes is called plainly, and leaves nothing to be freed.
      {"cbc", alg("Free", 3) + clear + plain("cbc")},
      {"cbc", clear + plain("cbc"), "zrtCallSolver", {1, "bad luck"}, "bad luck"},
      {"cbc", clear + plain("cbc")},
      // One that cannot be made is made anew, one that failed to run is asked to go on.
      {"clp", created(1) + kRestored, "zstAlgCreate", {0, "no license"}, "no license"},
      {"clp",
       created(1) + alg("ReadyAPI", 1) + alg("Free", 1) + kRestored,
       "zstAlgReadyAPI",
       {1},
       "readyapi failed"},
      {"clp", made(1), "zstAlgCallSolver", {1}, "callsolver failed"},
      {"clp", hot(1)},
      // A refused change falls back, for this solver's next call too.
      {"clp",
       kStored + alg("ModifyProblem", 1) + "zrtLog(" + log + ") " + alg("Free", 1) + kRestored +
           plain("clp"),
       "zstAlgModifyProblem",
       {1}},
      {"clp", clear + plain("clp")},
      {"glpk", made(3)},
  };
  std::string logged;
  const auto keep = [](const char* text, void* to) { *static_cast<std::string*>(to) += text; };
  zkitSetLog(instance, keep, &logged);
  double price = 3;
  for (const auto& step : steps) {
    const std::string before = records(db, symbolOf(db, "x"));
    update("p", ZDB_UPDATE_FIX, "p", {}, price);
    zmiSetVarLOne(record, model["x(b)"], 9);
    spy.answers = {{step.failing, step.answer}};
    spy.calls.clear();
    double time = 7;
    EXPECT_EQ(said(db, c__zdbcallsolvertimed(db, step.solver, &time)), step.message);
    const std::vector<std::string> calls = spy.calls;
    EXPECT_EQ(spy.taken("zrt zstAlgC zstAlgR zstAlgM zstAlgF zmiView zmiModelS zmiSolveS"),
              step.calls);
    spy.calls = calls;
    EXPECT_EQ(spy.taken("zmiAltRHSS zmiForce"),
              step.calls.empty()
                  ? ""
                  : "zmiAltRHSSet(1) zmiForceLinearSet(1) zmiAltRHSSet(0) zmiForceLinearSet(0) ");
    const bool isSolved = *step.message == '\0';
    EXPECT_EQ(time, isSolved ? 0 : 7);
    const std::string after = price == 3 ? " a=6/-1/0/6/1 b=1/0/0/9/1" : " a=0/1/0/6/1 b=7/0/0/9/1";
    EXPECT_EQ(records(db, symbolOf(db, "x")), isSolved ? after : before) << step.calls;
    if (isSolved) price = 4 - price;
  }
  EXPECT_EQ(logged, log);
}

/// Of model types 1 to 3; for others the update is evaluated all the same.
TEST_F(ModelSolve, LinearForm_LeavesTheConstantsToTheRightHandSides) {
  for (int type = 0; type <= 4; ++type) {
    spy.answers = {{"zmiModelType", {static_cast<double>(type)}}};
    EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
    EXPECT_DOUBLE_EQ(level("z"), 18.5);
    const char* form =
        "zmiSetAltRHSOne(0,2) zmiSetAltRHSOne(1,10) zmiAltRHSSet(1) zmiForceLinearSet(1) ";
    EXPECT_EQ(spy.taken("zmiEval zmiSetAltRHS zmiAltRHS zmiForce"),
              std::string("zmiEvalGradNLUpdate() ") + (type % 4 == 0 ? "" : form) +
                  "zmiAltRHSSet(0) zmiForceLinearSet(0) ");
  }
}

TEST_F(ModelSolve, AlternativeBounds_CountWhenTheLastUpdateWasOfColumns) {
  const struct {
    std::vector<const char*> then;  ///< what is updated after the upper bound of x
    double level;
  } cases[] = {{{}, 1}, {{"need"}, 6}, {{"p"}, 1}, {{"p", "need"}, 6}, {{"need", "p"}, 1}};
  db.add("data", 1);
  for (const auto& c : cases) {
    zmiAltBoundsSet(record, 0);
    update("x", ZDB_UPDATE_UPPER, "data", {"a"}, 1);
    for (const char* name : c.then) update(name, ZDB_UPDATE_LEVEL, "p", {}, 3);
    EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
    EXPECT_DOUBLE_EQ(level("x(a)"), c.level);
    update("need", ZDB_UPDATE_LEVEL, "p", {}, 3);
    EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
    EXPECT_DOUBLE_EQ(level("x(a)"), c.level) << "they stay on once they were";
  }
}

TEST_F(ModelSolve, Solution_IsReadForTheSymbolsThatAreLikeThoseOfTheModel) {
  Database other;
  put(other, other.add("x", 1), {"a"}, 4);
  put(other, other.add("need", 1, ZDB_EQUATION), {"a"}, 5);
  other.add("z", 0, ZDB_VARIABLE);
  prepare(other, false);
  EXPECT_EQ(records(other, symbolOf(other, "z")), "");
  EXPECT_EQ(said(other, c__zdbcallsolver(other, "clp")), "");
  EXPECT_EQ(
      describe(other),
      "a b \n0 1 1 0 x '' * a=4\n1 1 3 0 need '' * a=5/0/0/0/1\n2 0 2 0 z '' =18.5/0/-inf/inf/1\n");
  EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
  EXPECT_EQ(records(db, symbolOf(db, "need")), " =9/3/9/inf/1");
}

TEST_F(ModelSolve, EndOfTheLink_FreesTheSolverAndTheConfiguration) {
  const char* unprepared = "No model instance is prepared: call zdbInitUpdate first";
  const kittest::Model text("x(a) 1 4 2; min x(a)");
  const kittest::Instance second(text);
  const auto expectFree = [this](const char* solver) {
    EXPECT_EQ(spy.taken("zstAlg"), *solver == 'c' ? alg("Free", 1) : "");
    EXPECT_EQ(zstLibraryUnload(), 1) << "a configuration was left";
    Spy::comeBetween();
  };
  for (const char* solver : {"clp", "cbc", "none"}) {
    if (db != nullptr) c__zdbcallsolver(db, solver);
    spy.calls.clear();
    zdbfree(&db.handle);
    expectFree(solver[1] == 'l' ? "c" : "");
    zdbcreate(&db.handle, nullptr, 0);
    EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), unprepared);
    prepare(db);
  }
  // Registering the same instance again keeps the preparation, another one ends it.
  EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, instance)), "");
  EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
  EXPECT_EQ(spy.taken("zstAlgM"), alg("ModifyProblem", 1));
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, second)), "");
  expectFree("c");
  EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), unprepared);
  EXPECT_EQ(said(db, c__zdbinitupdate(db, instance)),
            "The model instance is not the one that the database is registered with");
  EXPECT_EQ(said(db, c__zdbinitupdate(db, second)), "");
  EXPECT_EQ(said(db, c__zdbcallsolver(db, "clp")), "");
  EXPECT_EQ(records(db, symbolOf(db, "x")), " a=1/1/1/4/1");
}

}  // namespace
