// Solving a prepared model instance again.
#include <algorithm>

#include "core/delivery.h"
#include "io/modeldictionary.h"
#include "io/modelsource.h"
#include "io/solverfailure.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

namespace zdb {

using namespace loaders;

namespace {

/// Both statuses of a model until a solver has set them.
constexpr int kNoStatus = 13;

/// For the time of a solve, puts the instance into the form that solvers need: linear, with the
/// constant terms of the nonlinear update on the right-hand side.
class SolverForm {
 public:
  explicit SolverForm(ModelLink& link) : instance_(link.instance) {
    const int type = zmiModelType(instance_);
    std::fill(link.constantTerms.begin(), link.constantTerms.end(), 0.0);
    double* constants = link.constantTerms.data();
    zmiEvalGradNLUpdate(instance_, constants);
    if (type < 1 || type > 3) return;
    for (int i = 0; i < link.rows; ++i) {
      zmiSetAltRHSOne(instance_, i, zmiGetRhsOne(instance_, i) - constants[i]);
    }
    zmiAltRHSSet(instance_, 1);
    zmiForceLinearSet(instance_, 1);
  }
  SolverForm(const SolverForm&) = delete;
  SolverForm& operator=(const SolverForm&) = delete;
  ~SolverForm() {
    zmiAltRHSSet(instance_, 0);
    zmiForceLinearSet(instance_, 0);
  }

 private:
  zmiRec* instance_;
};

/// Notes a solve in the link, as long as it lives.
class Solving {
 public:
  explicit Solving(ModelLink& link) : link_(link) { link_.isSolving = true; }
  Solving(const Solving&) = delete;
  Solving& operator=(const Solving&) = delete;
  ~Solving() { link_.isSolving = false; }

 private:
  ModelLink& link_;
};

/// Restores the instance's view, which a solver that works in place changes.
class StoredView {
 public:
  explicit StoredView(zmiRec* instance) : instance_(instance) { zmiViewStore(instance_); }
  StoredView(const StoredView&) = delete;
  StoredView& operator=(const StoredView&) = delete;
  ~StoredView() { zmiViewRestore(instance_); }

 private:
  zmiRec* instance_;
};

enum class Outcome { Solved, Failed, NotInPlace };

/// One solve with a solver that has a number.
class Solve {
 public:
  Solve(ZDB& db, ModelLink& link, int solver) : db_(db), link_(link), solver_(solver) {}

  bool run(const char* solverName);

 private:
  Outcome solveInPlace(bool isHot);
  bool makeSolver();
  bool modifyProblem();
  bool callPlain(const char* solverName);

  ZDB& db_;
  ModelLink& link_;
  int solver_;
};

bool Solve::run(const char* solverName) {
  const bool isHot = solver_ == link_.lastSolver;
  if (!isHot) {
    link_.releaseSolver();
    link_.lastSolverModifies = zstAlgAllowsModifyProblem(link_.configuration, solver_) != 0;
    link_.lastSolver = solver_;
  }
  zrtTerminateClear(link_.environment);
  const Outcome outcome = link_.lastSolverModifies ? solveInPlace(isHot) : Outcome::NotInPlace;
  return outcome == Outcome::NotInPlace ? callPlain(solverName) : outcome == Outcome::Solved;
}

Outcome Solve::solveInPlace(bool isHot) {
  const StoredView view(link_.instance);
  zmiModelStatSet(link_.instance, kNoStatus);
  zmiSolveStatSet(link_.instance, kNoStatus);
  if (isHot) {
    if (!modifyProblem()) return Outcome::NotInPlace;
  } else if (!makeSolver()) {
    return Outcome::Failed;
  }
  if (zstAlgCallSolver(link_.configuration, solver_, link_.instance) == 0) return Outcome::Solved;
  db_.setLastError(ErrorModel, "callsolver failed");
  db_.reportReason(lastSolverFailure(link_.environment).c_str());
  return Outcome::Failed;
}

bool Solve::modifyProblem() {
  if (zstAlgModifyProblem(link_.configuration, solver_) == 0) return true;
  zrtLog(link_.environment, "*** Hotstart failed! Falling back to warm start...");
  zstAlgFree(link_.configuration, solver_);
  link_.lastSolverModifies = false;
  return false;
}

/// A solver that cannot be made counts as the last one all the same: the next solve finds that it
/// modifies nothing and goes the plain way.
bool Solve::makeSolver() {
  char message[kMessageSize] = "";
  if (zstAlgCreate(link_.configuration, solver_, link_.systemDirectory.c_str(), message,
                   sizeof message) == 0) {
    return db_.setLastError(ErrorModel, "%s", message);
  }
  return zstAlgReadyAPI(link_.configuration, solver_, link_.instance) == 0 ||
         db_.setLastError(ErrorModel, "readyapi failed") ||
         db_.reportReason(lastSolverFailure(link_.environment).c_str());
}

bool Solve::callPlain(const char* solverName) {
  constexpr int solveLink = 5;
  constexpr double noLimit = 2.0E300;
  constexpr int noCount = 2100000000;
  char message[kMessageSize] = "";
  return zrtCallSolver(link_.environment, link_.instance, "", solverName, solveLink, 0, noLimit,
                       noLimit, noLimit, "", "", noCount, noCount, nullptr, message) == 0 ||
         db_.setLastError(ErrorModel, "%s", message);
}

/// Unloads the symbols that the model shares with the database, so that they are read again.
void unloadModelSymbols(ZDB& db, zlxRec* dictionary) {
  const int count = zlxNLSyms(dictionary);
  for (int i = 1; i <= count; ++i) {
    char name[kDictionaryNameSize] = "";
    zlxSymName(dictionary, i, name, sizeof name);
    if (!db.symbols().contains(name)) continue;
    AbstractZDBSymbol* symbol = db.symbols()[name];
    // Another symbol with the same name does not come from the model and could not be loaded again.
    const DictionarySymbol found(dictionary, i);
    if (symbol->type != found.databaseType() || symbol->dim != found.dim) continue;
    symbol->clear();
    symbol->isLoaded = false;
  }
}

bool callSolver(ZDB& db, ModelLink& link, const char* solverName, double* time) {
  if (!isAtRest(db) || !isIdle(db, link)) return false;
  if (!link.isPrepared()) {
    return db.setLastError(ErrorState, "No model instance is prepared: call zdbInitUpdate first");
  }
  if (zmiN(link.instance) != link.columns || zmiM(link.instance) != link.rows) {
    return db.setLastError(
        ErrorState,
        "The model instance has %d columns and %d rows, but had %d and %d when it was prepared: "
        "call zdbRegisterZMI and zdbInitUpdate again",
        zmiN(link.instance), zmiM(link.instance), link.columns, link.rows);
  }
  const int solver = zstAlgNumber(link.configuration, solverName);
  if (solver < 1) return db.setLastError(ErrorArgument, "Invalid solver name: %s", solverName);
  if (link.alternativeBoundsInUse) zmiAltBoundsSet(link.instance, 1);
  {
    const Solving solving(link);
    const SolverForm form(link);
    if (!Solve(db, link, solver).run(solverName)) return false;
    if (time != nullptr) *time = 0.0;
  }
  unloadModelSymbols(db, link.dictionary);
  return true;
}

}  // namespace

bool ZDB::CallSolver(const char* solverName, double* time) {
  return callSolver(*this, modelLink(*this), solverName, time);
}

}  // namespace zdb
