// What the kit asks of a solver.
#pragma once

#include <memory>
#include <string_view>

#include "kit/linearmodel.h"

namespace zdb::kit {

/// Holds a problem, with at least one row and one column, and solves it. Prints nothing. Calls may
/// throw std::exceptions: what went wrong is then the text, and the solver is of no more use. Used
/// by one thread at a time, not always the same.
class Solver {
 public:
  virtual ~Solver() = default;
  Solver(const Solver&) = delete;
  Solver& operator=(const Solver&) = delete;

  /// Takes a problem, in place of the one before.
  virtual void load(const LinearModel& model) = 0;
  /// Takes what differs from the problem that it has. Only asked of solvers that work in place.
  virtual void change(const LinearModel& model, const Changes& changes) = 0;
  /// From the basis of the last solve, after the changes given, or from scratch if null. The
  /// solution has its size and receives all but iterations only if it has levels.
  virtual Outcome solve(const Changes* changes, const StopSign& stop, Solution& solution) = 0;

 protected:
  Solver() = default;
};

/// What the kit knows of a solver.
struct Engine {
  const char* name;
  bool solvesMip;  ///< beside LP and RMIP
  bool worksInPlace;
  std::unique_ptr<Solver> (*make)();  ///< null: the kit was built without this solver
};

/// Null for a name that is none. Case does not count.
const Engine* findEngine(std::string_view name);

/// Each in a source file of its own, the only one that includes the solver's headers.
std::unique_ptr<Solver> makeClp();
std::unique_ptr<Solver> makeCbc();
std::unique_ptr<Solver> makeGlpk();

}  // namespace zdb::kit
