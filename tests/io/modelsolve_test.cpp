#include "loaders/zst.h"
#include "scriptedmodel.h"

namespace {

using namespace zdb;

constexpr const char* kPlain = "zrtCallSolver(,%,5,0,2e+300,2e+300,2e+300,,,2100000000,2100000000)";

std::string plain(const std::string& solver) {
  std::string call = kPlain;
  return call.replace(call.find('%'), 1, solver);
}

const std::string kStored =
    "zrtTerminateClear() zmiViewStore() zmiModelStatSet(13) "
    "zmiSolveStatSet(13) ";

// Solving a prepared instance, with solvers that are called by number.
struct ModelSolve : ModelTest {
  ModelSolve() {
    model.labels = {"a"};
    model.add("x", 5, 1, {{1}});
    model.add("p_var", 5, 0, {{}});
    model.add("e", 6, 0, {{}});
    model.add("f", 6, 0, {{}});
    model.columns = {{5, 0.5, 0, 9}, {1, 0, 0, 0}};
    model.rows = {{1, 1, 10}, {2, 2, 20}};
    prepare(db);
  }
  void prepare(ZDB& to) {
    EXPECT_TRUE(to.InitFromDict(model.instance()) && to.InitUpdate(model.instance()))
        << to.lastError();
    model.taken();
  }
  /// The calls of a solve but for those that every one makes.
  std::string solverCalls() { return model.taken("zrt zst zmiView zmiModelStat zmiSolveStat"); }
};

TEST_F(ModelSolve, SequenceOfSolves_MakesKeepsAndFreesSolvers) {
  struct Step {
    const char* solver;
    int modifying;
    int modifyResult;
    std::string calls;
  };
  const std::string log = "zrtLog(*** Hotstart failed! Falling back to warm start...) ";
  const Step steps[] = {
      // Made and readied, then hot.
      {"1", 1, 0,
       kStored + "zstAlgCreate(1,/sys/) zstAlgReadyAPI(1) zstAlgCallSolver(1) "
                 "zmiViewRestore()"},
      {"1", 1, 0, kStored + "zstAlgModifyProblem(1) zstAlgCallSolver(1) zmiViewRestore()"},
      // Another one frees it.
      {"2", 1, 0,
       "zstAlgFree(1) " + kStored +
           "zstAlgCreate(2,/sys/) zstAlgReadyAPI(2) "
           "zstAlgCallSolver(2) zmiViewRestore()"},
      // One that cannot take changes is called plainly, and leaves nothing to be freed.
      {"3", 0, 0, "zstAlgFree(2) zrtTerminateClear() " + plain("3")},
      {"3", 0, 0, "zrtTerminateClear() " + plain("3")},
      {"1", 1, 0,
       kStored + "zstAlgCreate(1,/sys/) zstAlgReadyAPI(1) zstAlgCallSolver(1) "
                 "zmiViewRestore()"},
      // A refused change falls back, for this solver's next call too.
      {"1", 1, 1,
       kStored + "zstAlgModifyProblem(1) " + log + "zstAlgFree(1) zmiViewRestore() " + plain("1")},
      {"1", 1, 0, "zrtTerminateClear() " + plain("1")},
      {"2", 1, 0,
       kStored + "zstAlgCreate(2,/sys/) zstAlgReadyAPI(2) zstAlgCallSolver(2) "
                 "zmiViewRestore()"},
  };
  for (const Step& step : steps) {
    model.modifying = step.modifying;
    model.results["zstAlgModifyProblem"] = step.modifyResult;
    EXPECT_TRUE(db.CallSolver(step.solver, nullptr)) << db.lastError();
    EXPECT_EQ(solverCalls(), step.calls);
  }
}

TEST_F(ModelSolve, Failures_AreReportedAndUndoWhatWasPrepared) {
  struct Case {
    const char* failing;
    int result;
    int modifying;
    const char* message;
    std::string calls;
    std::string retry;
  };
  const std::string made = kStored +
                           "zstAlgCreate(1,/sys/) zstAlgReadyAPI(1) zstAlgCallSolver(1) "
                           "zmiViewRestore()";
  const Case cases[] = {
      {"zstAlgCreate", 0, 1, "no license", kStored + "zstAlgCreate(1,/sys/) zmiViewRestore()",
       made},
      {"zstAlgReadyAPI", 1, 1, "readyapi failed",
       kStored + "zstAlgCreate(1,/sys/) zstAlgReadyAPI(1) zstAlgFree(1) zmiViewRestore()", made},
      {"zstAlgCallSolver", 1, 1, "callsolver failed", made,
       kStored + "zstAlgModifyProblem(1) zstAlgCallSolver(1) zmiViewRestore()"},
      {"zrtCallSolver", 1, 0, "no such luck", "zrtTerminateClear() " + plain("1"),
       "zrtTerminateClear() " + plain("1")},
  };
  for (const Case& c : cases) {
    ZDB fresh(MODEL_DIR);
    prepare(fresh);
    AbstractZDBSymbol* x = fresh.symbols()["x"];
    ASSERT_TRUE(fresh.LoadSymbol(x));
    model.modifying = c.modifying;
    model.results = {{c.failing, c.result}};
    double time = 7;
    EXPECT_FALSE(fresh.CallSolver("1", &time)) << c.failing;
    EXPECT_STREQ(fresh.lastError(), c.message);
    const std::vector<std::string> calls = model.calls;
    EXPECT_EQ(solverCalls(), c.calls) << c.failing;
    model.calls = calls;
    EXPECT_EQ(model.taken("zmiAltRHSSet zmiForce"), "zmiAltRHSSet(0) zmiForceLinearSet(0)");
    EXPECT_EQ(time, 7);
    EXPECT_TRUE(x->isLoaded);
    EXPECT_EQ(x->size(), 1);
    model.results.clear();
    EXPECT_TRUE(fresh.CallSolver("1", nullptr));
    EXPECT_EQ(solverCalls(), c.retry) << c.failing;
  }
}

TEST_F(ModelSolve, UnknownSolver_IsRefusedBeforeAnything) {
  expectFailure(db.CallSolver("none", nullptr), "Invalid solver name: none");
  EXPECT_EQ(model.taken(), "");
  ZDB registered(MODEL_DIR);
  registered.RegisterZMI(model.instance());
  EXPECT_FALSE(registered.CallSolver("1", nullptr));
  EXPECT_STREQ(registered.lastError(), "No model instance is prepared: call zdbInitUpdate first");
}

TEST_F(ModelSolve, LinearForm_IsThatOfModelTypesOneToThree) {
  const std::string form =
      "zmiEvalGradNLUpdate() zmiSetAltRHSOne(0,9.5) zmiSetAltRHSOne(1,18.5) "
      "zmiAltRHSSet(1) zmiForceLinearSet(1) ";
  const std::string end = "zmiAltRHSSet(0) zmiForceLinearSet(0)";
  for (int type = 0; type <= 4; ++type) {
    model.modelType = type;
    EXPECT_TRUE(db.CallSolver("1", nullptr));
    const bool isLinear = type >= 1 && type <= 3;
    EXPECT_EQ(model.taken("zmiEval zmiSetAltRHS zmiAltRHS zmiForce"),
              (isLinear ? form : "zmiEvalGradNLUpdate() ") + end)
        << type;
  }
}

TEST_F(ModelSolve, AlternativeBounds_AreSwitchedOnAfterUpdatesOfColumns) {
  int noMatch;
  AbstractZDBSymbol* p = add("p", TypeParameter, 0);
  AbstractZDBSymbol* x = db.symbols()["x"];
  AbstractZDBSymbol* e = db.symbols()["e"];
  AbstractZDBSymbol* data = add("data", TypeParameter, 1);
  struct Case {
    AbstractZDBSymbol* symbol;
    AbstractZDBSymbol* data;
    const char* calls;
  };
  const Case cases[] = {{nullptr, nullptr, ""},
                        {x, data, "zmiAltBoundsSet(1)"},
                        {e, p, ""},
                        {p, p, "zmiAltBoundsSet(1)"}};
  for (const Case& c : cases) {
    if (c.symbol != nullptr) {
      EXPECT_TRUE(db.UpdateSymbolInModel(c.symbol, 4, c.data, 2, noMatch)) << db.lastError();
    }
    EXPECT_TRUE(db.CallSolver("1", nullptr));
    EXPECT_EQ(model.taken("zmiAltBounds"), c.calls);
  }
}

TEST_F(ModelSolve, Solution_IsReadAfreshForTheSymbolsAskedFor) {
  AbstractZDBSymbol* mine = add("mine", TypeParameter, 1);
  *merge(mine, {"a"}) = 3;
  // Called like a symbol of the model, but of another kind.
  AbstractZDBSymbol* alike = add("alike", TypeParameter, 0);
  *merge(alike, {}) = 4;
  model.add("alike", 5, 0, {{}});
  EXPECT_EQ(records("x"), "a 5,0.5,0,9,1");
  model.columns[0].level = 55;
  EXPECT_EQ(records("x"), "a 5,0.5,0,9,1");
  double time = 7;
  ASSERT_TRUE(db.CallSolver("1", &time));
  EXPECT_EQ(time, 0);
  for (const char* name : {"x", "e", "f"}) {
    EXPECT_FALSE(db.symbols()[name]->isLoaded) << name;
    EXPECT_TRUE(db.symbols()[name]->empty()) << name;
  }
  EXPECT_EQ(records("x"), "a 55,0.5,0,9,1");
  EXPECT_FALSE(db.symbols()["e"]->isLoaded);
  EXPECT_EQ(records("mine"), "a 3");
  EXPECT_EQ(records("alike"), "4");
}

TEST_F(ModelSolve, EndOfTheLink_FreesTheSolverAndTheConfiguration) {
  struct Case {
    const char* solver;
    int modifying;
    const char* calls;
  };
  const Case cases[] = {{"1", 1, "zstAlgFree(1)"}, {"1", 0, ""}, {nullptr, 1, ""}};
  for (const Case& c : cases) {
    for (const bool byDatabase : {true, false}) {
      auto other = std::make_unique<ZDB>(MODEL_DIR);
      prepare(*other);
      model.modifying = c.modifying;
      ASSERT_TRUE(c.solver == nullptr || other->CallSolver(c.solver, nullptr));
      model.taken();
      ScriptedModel* second = &model;
      if (byDatabase) {
        other.reset();
      } else {
        // Another instance, under whose address the same script answers.
        EXPECT_TRUE(other->RegisterZMI(reinterpret_cast<loaders::zmiRec*>(&second)));
        EXPECT_FALSE(other->CallSolver("1", nullptr));
      }
      EXPECT_EQ(model.taken("zst"), c.calls);
      EXPECT_EQ(loaders::zstLibraryUnload(), 0) << "the fixture's database has one";
    }
  }
}

TEST_F(ModelSolve, RegisteringTheSameInstanceAgain_KeepsThePreparation) {
  EXPECT_TRUE(db.CallSolver("1", nullptr));
  EXPECT_TRUE(db.RegisterZMI(model.instance()));
  model.taken();
  EXPECT_TRUE(db.CallSolver("1", nullptr)) << db.lastError();
  EXPECT_EQ(model.taken("zstAlg"), "zstAlgModifyProblem(1) zstAlgCallSolver(1)");
}

}  // namespace
