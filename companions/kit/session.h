// Solves an instance repeatedly with the same solver.
#pragma once

#include <memory>
#include <optional>

#include "kit/instance.h"
#include "kit/linearform.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

/// A solver and the problem that it has loaded. The first solve of an instance loads the whole
/// problem; the next ones tell the solver only what has changed.
class Session {
 public:
  /// REQUIRES engine.make != nullptr.
  explicit Session(const Engine& engine) : engine_(engine), solver_(engine.make()) {}

  /// Prepares the problem for solve(). Throws a KitError if the solver does not solve such models.
  void load(Instance& instance);
  /// Whether the solver has a problem and can continue from its last solve.
  bool canContinue() const { return form_.has_value() && solver_ != nullptr; }
  /// Solves and writes levels, marginals and statuses to the instance. Levels and marginals are
  /// unchanged if the solve finds none. Never throws: a failure is an outcome, with its reason in
  /// the message of the instance.
  Outcome solve(Instance& instance);

 private:
  Outcome solveChecked(Instance& instance, const StopToken& stop);
  Outcome failWith(Instance& instance, const char* why);
  void storeBound(Outcome outcome, const StopToken& stop, Instance& instance) const;
  Outcome callSolver(const StopToken& stop);
  void makeForm(const Instance& instance);
  void refresh(const Instance& instance, bool subtractsConstants);
  void orderChanges();
  void goBack();
  void keepStart(Outcome outcome);
  void findChanges(const LinearModel& earlier);

  const Engine& engine_;
  std::unique_ptr<Solver> solver_;
  std::optional<LinearForm> form_;
  Changes changes_;                  ///< that the solver has not been told
  bool isChecked_ = false;           ///< whether all numbers are usable, but for new changes
  bool areBoundsExcluding_ = false;  ///< those of some column
  bool isLoaded_ = false;
  bool hasBasis_ = false;
  /// Of an instance whose solves start at the first one.
  bool startsAtFirst_ = false;
  bool isFirst_ = true;               ///< of the solves of this form
  std::optional<LinearModel> start_;  ///< what the solver had been told when it kept it
  Solution solution_;
};

}  // namespace zdb::kit
