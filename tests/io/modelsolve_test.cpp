// Solving a prepared instance again and again, with clp (number 1), cbc (2) and glpk (3).
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "spy.h"

namespace {

using namespace zdb::loaders;

// Calls of which the order is laid down.
const std::string kClear = "zrtTerminateClear() ";
const std::string kStored = kClear + "zmiViewStore() zmiModelStatSet(13) zmiSolveStatSet(13) ";
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

const char* const kUnprepared = "No model instance is prepared: call zdbInitUpdate first";

/// z is 2 x(a) + p x(b) + y / 2 + 2, and 18.5 with p = 3 when it is as small as
/// x(a) + x(b) + y >= 10 allows.
struct ModelSolve : ModelTest {
  ModelSolve()
      : ModelTest(
            "x(a) 0 6 5; x(b) 0 9 2; p_var -inf inf 3; int y 0 3 1; z -inf inf; min z;"
            "cost: z - 2 x(a) - p_var*x(b) - 0.5 y - 2 = 0; need: x(a) + x(b) + y - 1 >= 9") {
    EXPECT_EQ(link(), "");
    put(db, db.add("p", 0), {}, 3);
  }
  std::string created(int solver) const {
    char folder[ZKIT_TEXT_SIZE];
    zrtGetStrOpt(static_cast<zrtRec*>(zmiEnvironment(record)), "NameSysDir", folder);
    return kStored + "zstAlgCreate(" + std::to_string(solver) + "," + folder + ",256) ";
  }
  std::string made(int solver) const {
    return created(solver) + alg("ReadyAPI", solver) + called(solver);
  }
};

TEST_F(ModelSolve, SequenceOfSolves_MakesKeepsAndFreesSolvers) {
  const std::string fallBack = kStored + alg("ModifyProblem", 1) +
                               "zrtLog(*** Hotstart failed! Falling back to warm start...) " +
                               alg("Free", 1) + kRestored + plain("clp");
  const struct {
    const char* solver;
    std::string calls;
    const char* message = "";
    const char* failing = "";
    Spy::Answer answer = {};
  } steps[] = {
      {"none", "", "Invalid solver name: none"},
      {"clp", made(1)},
      {"CLP", hot(1)},
      {"glpk", alg("Free", 1) + made(3)},
      {"glpk", hot(3)},
      {"none", "", "Invalid solver name: none"},
      // One that cannot take changes is called plainly, and leaves nothing to be freed.
      {"cbc", alg("Free", 3) + kClear + plain("cbc")},
      {"cbc", kClear + plain("cbc"), "bad luck", "zrtCallSolver", {1, "bad luck"}},
      {"cbc", kClear + plain("cbc")},
      // One that cannot be made or got ready is asked to go on all the same, and then falls back.
      {"clp", created(1) + kRestored, "no license", "zstAlgCreate", {0, "no license"}},
      {"clp", fallBack},
      {"glpk", made(3)},
      {"clp",
       alg("Free", 3) + created(1) + alg("ReadyAPI", 1) + kRestored,
       "readyapi failed",
       "zstAlgReadyAPI",
       {1}},
      {"clp", fallBack},
      {"glpk", made(3)},
      {"clp", alg("Free", 3) + made(1), "callsolver failed", "zstAlgCallSolver", {1}},
      {"clp", hot(1)},
      // A refused change falls back, for this solver's next call too.
      {"clp", fallBack, "", "zstAlgModifyProblem", {1}},
      {"clp", kClear + plain("clp")},
      {"glpk", made(3)},
  };
  const std::string inLinearForm =
      "zmiAltRHSSet(1) zmiForceLinearSet(1) zmiAltRHSSet(0) zmiForceLinearSet(0) ";
  std::string before = " a=5/0/0/6/1 b=2/0/0/9/1";
  double price = 3;
  for (const auto& step : steps) {
    EXPECT_EQ(records(db, "x"), before);
    put(db, symbolOf(db, "p"), {}, price);
    EXPECT_EQ(update("p", ZDB_UPDATE_FIX, "p", ZDB_MISSING_KEEP), "0");
    zmiSetVarLOne(record, model["x(b)"], 9);
    spy.answers = {{step.failing, step.answer}};
    spy.calls.clear();
    double time = 7;
    EXPECT_EQ(said(db, c__zdbcallsolvertimed(db, step.solver, &time)), step.message);
    const std::vector<std::string> calls = spy.calls;
    EXPECT_EQ(spy.taken("zrt zstAlgC zstAlgR zstAlgM zstAlgF zmiView zmiModelS zmiSolveS"),
              step.calls);
    spy.calls = calls;
    EXPECT_EQ(spy.taken("zmiAltRHSS zmiForce"), step.calls.empty() ? "" : inLinearForm);
    const bool isSolved = *step.message == '\0';
    EXPECT_EQ(time, isSolved ? 0 : 7);
    if (!isSolved) continue;
    before = price == 3 ? " a=6/-1/0/6/1 b=1/0/0/9/1" : " a=0/1/0/6/1 b=7/0/0/9/1";
    price = 4 - price;
  }
}

/// Of model types 1 to 3; for others the update is evaluated all the same. One that fails leaves 0.
TEST_F(ModelSolve, LinearForm_LeavesTheConstantsToTheRightHandSides) {
  const std::string flags = "zmiAltRHSSet(1) zmiForceLinearSet(1) ";
  const std::string form = "zmiSetAltRHSOne(0,2) zmiSetAltRHSOne(1,10) " + flags;
  const std::string forms[] = {"",   form, form,
                               form, "",   "zmiSetAltRHSOne(0,0) zmiSetAltRHSOne(1,9) " + flags};
  for (int type = 0; type <= 5; ++type) {
    spy.answers = {{"zmiModelType", {static_cast<double>(type)}}};
    if (type == 5) spy.answers = {{"zmiEvalGradNLUpdate", {0}}};
    EXPECT_EQ(solve("clp"), "");
    EXPECT_EQ(records(db, "z"), type < 5 ? " =18.5/0/-inf/inf/1" : " =13.5/0/-inf/inf/1");
    EXPECT_EQ(spy.taken("zmiEval zmiSetAltRHS zmiAltRHS zmiForce"),
              "zmiEvalGradNLUpdate() " + forms[type] + "zmiAltRHSSet(0) zmiForceLinearSet(0) ");
  }
}

TEST_F(ModelSolve, AlternativeBounds_CountWhenTheLastUpdateWasOfColumns) {
  const struct {
    std::vector<const char*> then;  ///< what is updated after the upper bound of x
    double level;
  } cases[] = {{{}, 1}, {{"need"}, 6}, {{"p"}, 1}, {{"p", "need"}, 6}, {{"need", "p"}, 1}};
  put(db, db.add("data", 1), {"a"}, 1);
  for (const auto& c : cases) {
    zmiAltBoundsSet(record, 0);
    EXPECT_EQ(update("x", ZDB_UPDATE_UPPER, "data", ZDB_MISSING_KEEP), "0");
    for (const char* name : c.then) update(name, ZDB_UPDATE_LEVEL, "p", ZDB_MISSING_KEEP);
    EXPECT_EQ(solve("clp"), "");
    EXPECT_DOUBLE_EQ(zmiGetVarLOne(record, model["x(a)"]), c.level);
    update("need", ZDB_UPDATE_LEVEL, "p", ZDB_MISSING_KEEP);
    EXPECT_EQ(solve("clp"), "");
    EXPECT_DOUBLE_EQ(zmiGetVarLOne(record, model["x(a)"]), c.level) << "on, they stay on";
  }
}

TEST_F(ModelSolve, Solution_IsReadForTheSymbolsThatAreLikeThoseOfTheModel) {
  EXPECT_EQ(solve("clp"), "");
  EXPECT_EQ(records(db, "need"), " =9/3/9/inf/1");
  renew();
  put(db, db.add("x", 1), {"a"}, 4);
  put(db, db.add("need", 1, ZDB_EQUATION), {"a"}, 5);
  db.add("z", 0, ZDB_VARIABLE);
  EXPECT_EQ(prepare(), "");
  EXPECT_EQ(records(db, "z"), "");
  EXPECT_EQ(solve("clp"), "");
  EXPECT_EQ(records(db, "x"), " a=4");
  EXPECT_EQ(records(db, "need"), " a=5/0/0/0/1");
  EXPECT_EQ(records(db, "z"), " =18.5/0/-inf/inf/1");
}

TEST_F(ModelSolve, EndOfTheLink_FreesTheSolverAndTheConfiguration) {
  const auto expectFreed = [this](const std::string& solver) {
    EXPECT_EQ(spy.taken("zstAlgF"), solver);
    EXPECT_EQ(zstLibraryUnload(), 1) << "a configuration was left";
    Spy::comeBetween();
  };
  for (const char* solver : {"clp", "cbc", "none"}) {
    solve(solver);
    renew();
    expectFreed(*solver == 'c' && solver[1] == 'l' ? alg("Free", 1) : "");
    EXPECT_EQ(solve("clp"), kUnprepared);
    EXPECT_EQ(link(), "");
    put(db, db.add("p", 0), {}, 3);
  }
  // So does registering: another instance may be at the address of the one before.
  EXPECT_EQ(solve("clp"), "");
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, instance)), "");
  expectFreed(alg("Free", 1));
  db.add("none", 1);
  EXPECT_EQ(update("x", ZDB_UPDATE_LEVEL, "none", ZDB_MISSING_BASE),
            "Entry 0 has no base value: call zdbInitUpdate first");
  EXPECT_EQ(prepare(), "");
  spy.answers = {{"zmiN", {7}}};
  EXPECT_EQ(solve("clp"),
            "The model instance has 7 columns and 2 rows, but had 5 and 2 when it was prepared: "
            "call zdbRegisterZMI and zdbInitUpdate again");
  spy.answers = {};
  EXPECT_EQ(solve("clp"), "");
  const kittest::Model otherModel("x(a) 1 4 2; min x(a)");
  const kittest::Instance other(otherModel);
  zmiSetAltVarLowerOne(recordOf(other), 0, 3);  // which a solve after an update of columns uses
  EXPECT_EQ(update("p", ZDB_UPDATE_FIX, "p", ZDB_MISSING_KEEP), "0");
  EXPECT_EQ(said(db, c__zdbregisterzmi(db, other)), "");
  expectFreed(alg("Free", 1));
  EXPECT_EQ(solve("clp"), kUnprepared);
  EXPECT_EQ(prepare(), "The model instance is not the one that the database is registered with");
  EXPECT_EQ(said(db, c__zdbinitupdate(db, other)), "");
  EXPECT_EQ(solve("clp"), "");
  EXPECT_EQ(records(db, "x"), " a=1/1/1/4/1");
}

}  // namespace
