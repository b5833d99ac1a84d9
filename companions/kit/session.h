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
///
/// What a solve of a linear model finds stays in the solver until somebody asks the instance for
/// it, or the solver needs the place: a host that only wants the objective does not wait for it.
class Session final : private SolutionSource {
 public:
  /// REQUIRES engine.make != nullptr.
  explicit Session(const Engine& engine) : engine_(engine), solver_(engine.make()) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() { settle(); }

  /// Prepares the problem for solve(). Throws a KitError if the solver does not solve such models.
  void load(Instance& instance);
  /// Whether the solver has a problem and can continue from its last solve.
  bool canContinue() const { return form_.has_value() && solver_ != nullptr; }
  /// Solves and gives levels, marginals and statuses to the instance. Levels and marginals are
  /// unchanged if the solve finds none; where the solver itself fails, those that nobody has asked
  /// for are lost. Never throws: a failure is an outcome, with its reason in the message of the
  /// instance.
  Outcome solve(Instance& instance);

 private:
  void deliver(Instance& instance) noexcept override;
  void drop() noexcept override { unsettled_ = nullptr; }
  void settle() noexcept;
  void take(Outcome outcome, Instance& instance);
  void recover();

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
  Instance* unsettled_ = nullptr;  ///< whose solution the solver still has
  bool isBusy_ = false;            ///< the solver is, or has failed
};

}  // namespace zdb::kit
