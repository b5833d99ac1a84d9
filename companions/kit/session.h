// Solving an instance, again and again with the same solver.
#pragma once

#include <memory>
#include <optional>

#include "kit/instance.h"
#include "kit/linearform.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

/// A solver and the problem that it has. The first solve of an instance, or one of another
/// instance, loads the whole problem; later ones tell the solver only what changed.
class Session {
 public:
  /// The engine must be built in.
  explicit Session(const Engine& engine) : engine_(engine), solver_(engine.make()) {}

  /// Gets the problem ready for solve(). Throws a KitError if the solver does not solve such
  /// models.
  void load(Instance& instance);
  /// Whether the last solve left the solver fit to go on from there.
  bool canContinue() const { return form_.has_value() && solver_ != nullptr; }
  /// Solves and writes levels, marginals and statuses. Levels and marginals stay as they were if
  /// the solve finds none. Never throws: a failure is an outcome, its reason is the instance's
  /// message.
  Outcome solve(Instance& instance);

 private:
  Outcome solveChecked(Instance& instance, const StopSign& stop);
  Outcome failWith(Instance& instance, const char* why);
  Outcome callSolver(const StopSign& stop);
  void makeForm(const Instance& instance);
  void findChanges();
  void remember();

  const Engine& engine_;
  std::unique_ptr<Solver> solver_;
  std::optional<LinearForm> form_;
  /// What the solver was told last; not everything of it if isLoaded_ does not hold.
  LinearModel told_;
  Changes changes_;
  bool isLoaded_ = false;
  bool hasBasis_ = false;
  Solution solution_;
};

}  // namespace zdb::kit
