// The interface that the kit needs from a solver.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "kit/linearmodel.h"

namespace zdb::kit {

/// Holds a problem with at least one row and one column, and solves it. Prints nothing. Functions
/// may throw a std::exception that says what went wrong; the solver is then unusable. Used by one
/// thread at a time, not always the same.
class Solver {
 public:
  virtual ~Solver() = default;
  Solver(const Solver&) = delete;
  Solver& operator=(const Solver&) = delete;

  /// Loads a problem, replacing the previous one.
  virtual void load(const LinearModel& model) = 0;
  /// Applies the changes to the loaded problem. Called only for solvers that work in place.
  virtual void change(const LinearModel& model, const Changes& changes) = 0;
  /// Solves from the basis of the last solve, after the given changes, or from scratch if they are
  /// null. The vectors of the solution have their sizes; all but the iterations are set only if
  /// there are levels, and the vectors not even then if the solution says that they are here still.
  virtual Outcome solve(const Changes* changes, const StopToken& stop, Solution& solution) = 0;

  /// Sets the vectors of a solution that is here still: until the next call that is not one of
  /// these two.
  virtual void fetch(Solution& /*solution*/) {}
  /// The objective of such a solution, offset included. `model` is the one that was solved.
  virtual double objective(const LinearModel& /*model*/) const { return 0.0; }

  /// Keeps problem and basis as they are after a solve, for goBack(); false if the solver cannot.
  virtual bool keepStart() { return false; }
  /// Returns to the problem and the basis that were kept, so that a solve after that goes as if
  /// there had been none in between. `model` is the one that was kept.
  virtual void goBack(const LinearModel& /*model*/) {}

 protected:
  Solver() = default;
};

/// A solver type.
struct Engine {
  const char* name;
  bool solvesMip;  ///< in addition to LP and RMIP
  bool worksInPlace;
  std::unique_ptr<Solver> (*make)();  ///< null: the kit was built without this solver
  const char* (*version)();           ///< "" if it cannot be used here; null as above
  const char* (*reason)();            ///< why it cannot be used here, or ""; null: always can
  double farthestLevel;               ///< from here on, it takes levels for infinite

  /// Why it cannot be used, or "". Never freed.
  const char* whyNot() const;
  bool isUsable() const { return *whyNot() == '\0'; }
};

/// In the order in which they are numbered, from 0.
std::span<const Engine> engines();

/// Null for an unknown name. Case does not matter.
const Engine* findEngine(std::string_view name);

/// Each is in a separate source file, the only one that includes the solver's headers. HiGHS has
/// none: it is found at run time, as is the plug-in that has GLPK.
std::unique_ptr<Solver> makeClp();
std::unique_ptr<Solver> makeCbc();
std::unique_ptr<Solver> makeGlpk();
std::unique_ptr<Solver> makeHighs();
const char* clpVersion();
const char* cbcVersion();
const char* glpkVersion();
const char* highsVersion();
/// Why there is no plug-in that can be used, or "". Looks for it once in a process.
const char* glpkReason();

}  // namespace zdb::kit
