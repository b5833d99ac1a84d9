// Solving a prepared instance again and again, with clp (number 1), cbc (2) and glpk (3).
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "modeltest.h"

namespace {

using namespace zdb::loaders;

std::string numbered(const char* call, int solver) {
  return std::string("zstAlg") + call + "(" + std::to_string(solver) + ") ";
}

// Calls of which the order is laid down; each ends in a blank.
const std::string kStored =
    "zrtTerminateClear() zmiViewStore() zmiModelStatSet(13) zmiSolveStatSet(13) ";
const std::string kRestored = "zmiViewRestore() ";
const std::string kLog = "zrtLog(*** Hotstart failed! Falling back to warm start...) ";

std::string called(int solver) {
  return numbered("CallSolver", solver) + kRestored;
}
std::string hot(int solver) {
  return kStored + numbered("ModifyProblem", solver) + called(solver);
}
std::string freed(int solver) {
  return numbered("Free", solver);
}
std::string plain(const std::string& solver) {
  return "zrtCallSolver(," + solver + ",5,0,2e+300,2e+300,2e+300,,,2100000000,2100000000,null) ";
}

/// z = 2 x(a) + p x(b) + y / 2 + 2 is to be as small as x(a) + x(b) + y >= 10 allows: 18.5 with p =
/// 3, 10.5 with p = 1.
struct ModelSolve : ModelTest {
  std::string directory;
  zdbSymbol_t p = nullptr;

  ModelSolve()
      : ModelTest(
            "col x(a) 0 6 5; col x(b) 0 9 2; col p_var -inf inf 3; int y 0 3 1; col z -inf inf 0;"
            "row cost = 0 1*z -2*x(a) -1*p_var*x(b) -0.5*y -2;"
            "row need >= 9 1*x(a) 1*x(b) 1*y -1;"
            "min z") {
    char text[ZKIT_TEXT_SIZE];
    zrtGetStrOpt(static_cast<zrtRec*>(zmiEnvironment(model.record())), "NameSysDir", text);
    directory = text;
    if (directory.back() != '/') directory += '/';
    prepare(db);
    p = db.add("p", 0);
  }
  std::string created(int solver) const {
    return kStored + "zstAlgCreate(" + std::to_string(solver) + "," + directory + ",256) ";
  }
  std::string made(int solver) const {
    return created(solver) + numbered("ReadyAPI", solver) + called(solver);
  }
  std::string solverCalls() {
    return spy.taken("zrtT zrtL zrtC zstAlgC zstAlgR zstAlgM zstAlgF zmiView zmiModelS zmiSolveS") +
           " ";
  }
  void update(const char* name, int action, zdbSymbol_t data, const Labels& key, double value) {
    put(db, data, key, value);
    int noMatch = -1;
    EXPECT_EQ(
        c__zdbupdatemodelsymbol(db, symbolOf(db, name), action, data, ZDB_MISSING_KEEP, &noMatch),
        1)
        << db.error();
    EXPECT_EQ(noMatch, 0);
  }
  double level(const char* name) { return zmiGetVarLOne(model.record(), model[name]); }
};

TEST_F(ModelSolve, SequenceOfSolves_MakesKeepsAndFreesSolvers) {
  std::string log;
  zkitSetLog(
      model, [](const char* text, void* to) { *static_cast<std::string*>(to) += text; }, &log);
  const struct {
    const char* solver;
    bool modifyFails;
    std::string calls;
  } steps[] = {
      {"clp", false, made(1)},
      {"CLP", false, hot(1)},
      {"glpk", false, freed(1) + made(3)},
      {"glpk", false, hot(3)},
      // One that cannot take changes is called plainly, and leaves nothing to be freed.
      {"cbc", false, freed(3) + "zrtTerminateClear() " + plain("cbc")},
      {"cbc", false, "zrtTerminateClear() " + plain("cbc")},
      {"clp", false, made(1)},
      // A refused change falls back, for this solver's next call too.
      {"clp", true,
       kStored + numbered("ModifyProblem", 1) + kLog + freed(1) + kRestored + plain("clp")},
      {"clp", false, "zrtTerminateClear() " + plain("clp")},
      {"glpk", false, made(3)},
  };
  double price = 3;
  for (const auto& step : steps) {
    spy.answers.clear();
    if (step.modifyFails) spy.answers["zstAlgModifyProblem"] = {1};
    update("p", ZDB_UPDATE_FIX, p, {}, price);
    solverCalls();
    EXPECT_EQ(c__zdbcallsolver(db, step.solver), 1) << db.error();
    EXPECT_EQ(solverCalls(), step.calls);
    EXPECT_DOUBLE_EQ(level("z"), price == 3 ? 18.5 : 10.5) << step.calls;
    price = 4 - price;
  }
  EXPECT_EQ(log, "*** Hotstart failed! Falling back to warm start...");
}

TEST_F(ModelSolve, Failures_AreReportedAndUndoWhatWasPrepared) {
  const std::string clear = "zrtTerminateClear() ";
  const struct {
    const char* failing;
    Spy::Answer answer;
    double modifies;
    const char* message;
    std::string calls;
    std::string retry;
  } cases[] = {
      {"zstAlgCreate", {0, "no license"}, 1, "no license", created(1) + kRestored, made(1)},
      {"zstAlgReadyAPI",
       {1},
       1,
       "readyapi failed",
       created(1) + numbered("ReadyAPI", 1) + freed(1) + kRestored,
       made(1)},
      {"zstAlgCallSolver", {1}, 1, "callsolver failed", made(1), hot(1)},
      {"zrtCallSolver",
       {1, "no such luck"},
       0,
       "no such luck",
       clear + plain("clp"),
       clear + plain("clp")},
  };
  for (const auto& c : cases) {
    Database fresh;
    spy.answers.clear();
    prepare(fresh);
    const std::string before = recordsOf(fresh, "x");
    spy.answers = {{c.failing, c.answer}, {"zstAlgAllowsModifyProblem", {c.modifies}}};
    zmiSetVarLOne(model.record(), model["x(a)"], 5.5);
    spy.calls.clear();
    double time = 7;
    EXPECT_REFUSED(fresh, c__zdbcallsolvertimed(fresh, "clp", &time), c.message);
    const std::vector<std::string> calls = spy.calls;
    EXPECT_EQ(solverCalls(), c.calls);
    spy.calls = calls;
    EXPECT_EQ(spy.taken("zmiAltRHSSet zmiForce"),
              "zmiAltRHSSet(1) zmiForceLinearSet(1) zmiAltRHSSet(0) zmiForceLinearSet(0)");
    EXPECT_EQ(time, 7);
    EXPECT_EQ(recordsOf(fresh, "x"), before) << "still those loaded before";
    spy.answers.erase(c.failing);
    EXPECT_EQ(c__zdbcallsolvertimed(fresh, "clp", &time), 1) << fresh.error();
    EXPECT_EQ(solverCalls(), c.retry) << c.failing;
    EXPECT_EQ(time, 0);
    zmiSetVarLOne(model.record(), model["x(a)"], 5);
  }
}

TEST_F(ModelSolve, WhatIsNotPreparedOrNotASolver_IsRefusedBeforeAnything) {
  EXPECT_REFUSED(db, c__zdbcallsolver(db, "none"), "Invalid solver name: none");
  EXPECT_EQ(spy.taken("z"), "zstAlgNumber(none)");
  const char* unprepared = "No model instance is prepared: call zdbInitUpdate first";
  Database registered;
  ASSERT_EQ(c__zdbregisterzmi(registered, model), 1);
  EXPECT_REFUSED(registered, c__zdbcallsolver(registered, "clp"), unprepared);
  EXPECT_REFUSED(registered, c__zdbinitupdate(registered, Instance("col x(a) 0 1 0")),
                 "The model instance is not the one that the database is registered with");
}

/// The constants of the nonlinear update leave the right-hand sides, and the coefficients are those
/// of the update, for model types 1 to 3; for others it is evaluated all the same.
TEST_F(ModelSolve, LinearForm_IsThatOfModelTypesOneToThree) {
  for (int type = 0; type <= 4; ++type) {
    spy.answers = {{"zmiModelType", {static_cast<double>(type)}}};
    EXPECT_EQ(c__zdbcallsolver(db, "clp"), 1) << db.error();
    EXPECT_DOUBLE_EQ(level("z"), 18.5);
    const std::string form =
        type >= 1 && type <= 3
            ? "zmiSetAltRHSOne(0,2) zmiSetAltRHSOne(1,10) zmiAltRHSSet(1) zmiForceLinearSet(1) "
            : "";
    EXPECT_EQ(spy.taken("zmiEval zmiSetAltRHS zmiAltRHS zmiForce"),
              "zmiEvalGradNLUpdate() " + form + "zmiAltRHSSet(0) zmiForceLinearSet(0)")
        << type;
  }
}

TEST_F(ModelSolve, AlternativeBounds_CountWhenTheLastUpdateWasOfColumns) {
  const struct {
    std::vector<const char*> then;  ///< what is updated after the upper bound of x
    double level;
  } cases[] = {{{}, 1}, {{"need"}, 6}, {{"p"}, 1}, {{"p", "need"}, 6}, {{"need", "p"}, 1}};
  zdbSymbol_t data = db.add("data", 1);
  for (const auto& c : cases) {
    zmiAltBoundsSet(model.record(), 0);
    update("x", ZDB_UPDATE_UPPER, data, {"a"}, 1);
    for (const char* name : c.then) update(name, ZDB_UPDATE_LEVEL, p, {}, 3);
    EXPECT_EQ(c__zdbcallsolver(db, "clp"), 1);
    EXPECT_DOUBLE_EQ(level("x(a)"), c.level);
    update("need", ZDB_UPDATE_LEVEL, p, {}, 3);
    EXPECT_EQ(c__zdbcallsolver(db, "clp"), 1);
    EXPECT_DOUBLE_EQ(level("x(a)"), c.level) << "they stay on once they were";
  }
}

TEST_F(ModelSolve, Solution_IsReadAfreshForTheSymbolsOfTheModel) {
  Database other;
  zdbSymbol_t alike = other.add("x", 1);  // a parameter that has the name of a variable
  put(other, alike, {"a"}, 4);
  zdbSymbol_t shape = other.add("need", 1, ZDB_EQUATION);  // and another number of positions
  put(other, shape, {"a"}, 5);
  zdbSymbol_t z = other.add("z", 0, ZDB_VARIABLE);
  prepare(other, false);
  EXPECT_EQ(records(other, z), "");
  EXPECT_EQ(recordsOf(db, "x"), " a=5/0/0/6/1 b=2/0/0/9/1");
  zmiSetVarLOne(model.record(), model["x(a)"], 5.5);
  EXPECT_EQ(recordsOf(db, "x"), " a=5/0/0/6/1 b=2/0/0/9/1");
  put(db, p, {}, 8);
  ASSERT_EQ(c__zdbcallsolver(db, "clp") & c__zdbcallsolver(other, "clp"), 1);
  EXPECT_EQ(recordsOf(db, "x"), " a=6/-1/0/6/1 b=1/0/0/9/1");
  EXPECT_EQ(recordsOf(db, "need"), " =9/3/9/inf/1");
  EXPECT_EQ(recordsOf(db, "p"), " =8");
  EXPECT_EQ(records(other, alike), " a=4");
  EXPECT_EQ(records(other, shape), " a=5/0/0/0/1");
  EXPECT_EQ(records(other, z), " =18.5/0/-inf/inf/1");
}

TEST_F(ModelSolve, EndOfTheLink_FreesTheSolverAndTheConfiguration) {
  const struct {
    const char* solver;
    double modifies;
    std::string calls;
  } cases[] = {{"clp", 1, freed(1)}, {"clp", 0, " "}, {nullptr, 1, " "}};
  zdbfree(&db.handle);
  Instance second("col x(a) 1 4 2; min x(a)");
  for (const auto& c : cases) {
    for (const bool byRegistering : {false, true}) {
      spy.answers = {{"zstAlgAllowsModifyProblem", {c.modifies}}};
      Database other;
      prepare(other);
      if (c.solver != nullptr) {
        ASSERT_EQ(c__zdbcallsolver(other, c.solver), 1);
      }
      spy.calls.clear();
      if (byRegistering) {
        EXPECT_EQ(c__zdbregisterzmi(other, second), 1);
      } else {
        zdbfree(&other.handle);
      }
      EXPECT_EQ(spy.taken("zstAlg") + " ", c.calls);
      EXPECT_EQ(zstLibraryUnload(), 1) << "a configuration was left";
      Spy::comeBetween();
      if (!byRegistering) continue;
      EXPECT_REFUSED(other, c__zdbcallsolver(other, "clp"),
                     "No model instance is prepared: call zdbInitUpdate first");
      ASSERT_EQ(c__zdbinitupdate(other, second), 1) << other.error();
      EXPECT_EQ(c__zdbcallsolver(other, "clp"), 1);
      EXPECT_EQ(recordsOf(other, "x"), " a=1/1/1/4/1");
    }
  }
}

TEST_F(ModelSolve, RegisteringOrPreparingTheSameInstanceAgain_KeepsThePreparation) {
  EXPECT_EQ(c__zdbcallsolver(db, "clp"), 1);
  EXPECT_EQ(c__zdbregisterzmi(db, model), 1);
  spy.calls.clear();
  EXPECT_EQ(c__zdbinitupdate(db, model), 1);
  EXPECT_EQ(spy.taken("z"), "");
  EXPECT_EQ(c__zdbcallsolver(db, "clp"), 1);
  EXPECT_EQ(solverCalls(), hot(1));
}

}  // namespace
