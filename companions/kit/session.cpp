#include "kit/session.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "kit/directsolve.h"
#include "kit/error.h"
#include "shared/boundary.h"

namespace zdb::kit {

namespace {

// Puts numbers in order, without duplicates. Those of one solve are in order as a rule.
void order(std::vector<int>& list) {
  if (std::adjacent_find(list.begin(), list.end(), std::greater_equal<>()) == list.end()) return;
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
}

void compare(const std::vector<double>& a, const std::vector<double>& b, std::vector<int>& list) {
  for (std::size_t k = 0; k < a.size(); ++k) {
    if (a[k] != b[k]) list.push_back(static_cast<int>(k));
  }
}

void compareBounds(const std::vector<double>& lowerA, const std::vector<double>& lowerB,
                   const std::vector<double>& upperA, const std::vector<double>& upperB,
                   std::vector<int>& list) {
  for (std::size_t k = 0; k < lowerA.size(); ++k) {
    if (lowerA[k] != lowerB[k] || upperA[k] != upperB[k]) list.push_back(static_cast<int>(k));
  }
}

std::string mipSolvers() {
  std::string names;
  for (const Engine& engine : engines()) {
    if (!engine.solvesMip || !engine.isUsable()) continue;
    names.append(names.empty() ? "" : " or ").append(engine.name);
  }
  return names.empty() ? "a kit that has one for it" : names;
}

}  // namespace

void Session::load(Instance& instance) {
  if (instance.isSolvedAsInteger() && !engine_.solvesMip) {
    throw KitError(std::string("Solver ") + engine_.name +
                   " solves LP and RMIP only, and the model is MIP: use " + mipSolvers());
  }
  makeForm(instance);
}

void Session::settle() noexcept {
  if (unsettled_ != nullptr) unsettled_->settle();
}

void Session::deliver(Instance& instance) noexcept {
  unsettled_ = nullptr;
  const auto fetch = [&] {
    solver_->fetch(solution_);
    form_->store(solution_, true, instance);
    return true;
  };
  zdb::boundary::guarded(false, fetch, [&](const std::exception& error) {
    failWith(instance, zdb::boundary::reasonOf(error));
  });
}

void Session::makeForm(const Instance& instance) {
  settle();
  form_.emplace(instance);
  changes_.clear();
  isChecked_ = false;
  isLoaded_ = false;
  hasBasis_ = false;
  isFirst_ = true;
  start_.reset();
}

Outcome Session::solve(Instance& instance) {
  const StopToken stop(instance.environment);
  instance.iterations = 0;
  instance.message.clear();
  if (unsettled_ != &instance) {
    settle();
    instance.settle();
  }
  Outcome outcome = Outcome::SetupFailed;
  try {
    outcome = solveChecked(instance, stop);
  } catch (const KitError& error) {
    instance.refuse(Outcome::SetupFailed, error.what());
  } catch (const std::exception& error) {
    outcome = failWith(instance, zdb::boundary::reasonOf(error));
  } catch (...) {  // some solvers throw their own classes
    outcome = failWith(instance, "The solver failed with an unknown error");
  }
  instance.seconds = stop.elapsed();
  if (!instance.message.empty()) instance.environment.log(instance.message.c_str());
  return outcome;
}

// The state of the solver is unknown, so it is freed.
Outcome Session::failWith(Instance& instance, const char* why) {
  if (!std::exchange(isBusy_, false)) settle();
  if (unsettled_ != nullptr) unsettled_->settleFrom(nullptr);
  solver_.reset();
  instance.refuse(Outcome::SolverFailed, why);
  return Outcome::SolverFailed;
}

Outcome Session::solveChecked(Instance& instance, const StopToken& stop) {
  if (solver_ == nullptr) throw KitError("The solver failed before and must be created again");
  const bool isByItself = !instance.view.isForcedLinear;
  if (isByItself) instance.updateLinear();
  if (!form_.has_value() || !form_->fits(instance)) load(instance);
  if (!changes_.isEmpty()) settle();
  refresh(instance, isByItself);
  const LinearModel& model = form_->model();
  const bool isSameSize = solution_.level.size() == model.lower.size() &&
                          solution_.rowLevel.size() == model.rowLower.size();
  // Of a linear model, a solve sets all of it.
  if (!isSameSize || !model.isInteger.empty()) {
    solution_.resize(model.columnCount(), model.rowCount());
  }
  solution_.hasLevels = false;
  solution_.isInSolver = false;
  solution_.iterations = 0;
  solution_.bound = kUnknown;
  startsAtFirst_ = instance.startsAtFirst;
  const std::optional<Outcome> known = solveDirectly(model, areBoundsExcluding_, solution_);
  const Outcome outcome = known.has_value() ? *known : callSolver(stop);
  isFirst_ = false;
  const Statuses statuses = statusesOf(outcome, solution_.hasLevels, instance.isSolvedAsInteger());
  instance.modelStatus = statuses.model;
  instance.solveStatus = statuses.solve;
  instance.iterations = solution_.iterations;
  if (solution_.hasLevels) take(outcome, instance);
  storeBound(outcome, stop, instance);
  if (!solution_.hasLevels && !known.has_value() && unsettled_ != nullptr) recover();
  if (isFailure(outcome)) instance.message = std::string("Solver ") + engine_.name + " failed";
  return outcome;
}

void Session::take(Outcome outcome, Instance& instance) {
  const bool isOptimal = outcome == Outcome::Optimal;
  const bool isLater = solution_.isInSolver && isOptimal && form_->canStoreLater();
  const LinearModel& model = form_->model();
  if (solution_.isInSolver && !isLater) solver_->fetch(solution_);
  form_->storeObjective(
      isLater ? solver_->objective(model) : costOf(model, solution_.level.data()) + model.offset,
      instance);
  instance.settleFrom(isLater ? this : nullptr);
  unsettled_ = isLater ? &instance : nullptr;
  if (!isLater) form_->store(solution_, isOptimal, instance);
}

// Without a solution at the new costs, the solver goes back to the costs before, for the solution
// that it still had, and forth again. It was optimal, and its levels are feasible, so that is near.
void Session::recover() {
  static const std::atomic<bool> never{false};
  Changes costs;
  costs.costs = form_->exchangeCosts();
  isBusy_ = true;
  solver_->change(form_->model(), costs);
  const Outcome outcome = solver_->solve(&costs, StopToken(never, Limits{}), solution_);
  isBusy_ = false;
  if (outcome == Outcome::Optimal) settle();
  if (unsettled_ != nullptr) unsettled_->settleFrom(nullptr);
  form_->exchangeCosts();
  isBusy_ = true;
  solver_->change(form_->model(), costs);
  isBusy_ = false;
}

// Levels that are proven to be the best are their own bound. A model without a solution has none.
void Session::storeBound(Outcome outcome, const StopToken& stop, Instance& instance) const {
  const bool isOptimal = outcome == Outcome::Optimal;
  const bool mayDiffer = instance.isSolvedAsInteger() && stop.hasGap();
  double bound = instance.direction * solution_.bound;
  if (isOptimal && !mayDiffer && instance.objective >= 0) {
    bound = instance.columns[instance.objective].level;
  }
  const bool isStopped = outcome == Outcome::IterationLimit || outcome == Outcome::TimeLimit ||
                         outcome == Outcome::Interrupted || outcome == Outcome::Stopped;
  instance.setBound(isOptimal || isStopped ? bound : kUnknown, solution_.hasLevels);
}

// What has changed since the solver was told, and whether the numbers are usable: those that are
// not are never told, and so are looked at again.
void Session::refresh(const Instance& instance, bool subtractsConstants) {
  form_->refresh(instance, subtractsConstants, changes_);
  const LinearModel& model = form_->model();
  if (isChecked_) {
    checkNumbers(model, changes_, engine_);
    if (areBoundsExcluding_ || hasExcludingBounds(model, changes_)) {
      areBoundsExcluding_ = hasExcludingBounds(model);
    }
  } else {
    checkNumbers(model, engine_);
    areBoundsExcluding_ = hasExcludingBounds(model);
  }
  isChecked_ = true;
}

Outcome Session::callSolver(const StopToken& stop) {
  const LinearModel& model = form_->model();
  const bool goesBack = startsAtFirst_ && !isFirst_;
  // Where only costs change, its levels stay feasible, and there are new ones unless the model is
  // unbounded now.
  if (goesBack || !isLoaded_ || !changes_.areOfCosts()) settle();
  isBusy_ = true;
  if (goesBack) goBack();
  const bool isHot = isLoaded_;
  orderChanges();
  if (isHot) {
    solver_->change(model, changes_);
  } else {
    solver_->load(model);
  }
  isLoaded_ = engine_.worksInPlace;
  const Outcome outcome = solver_->solve(isHot && hasBasis_ ? &changes_ : nullptr, stop, solution_);
  changes_.clear();
  hasBasis_ = !isFailure(outcome) && outcome != Outcome::Stopped;
  if (startsAtFirst_ && isFirst_) keepStart(outcome);
  isBusy_ = false;
  return outcome;
}

// Without a start that was kept, each solve is the first one of a new solver.
void Session::goBack() {
  if (!start_.has_value()) {
    solver_ = engine_.make();
    isLoaded_ = false;
    return;
  }
  solver_->goBack(*start_);
  findChanges(*start_);
  hasBasis_ = true;
}

void Session::keepStart(Outcome outcome) {
  const bool hasEnded = outcome == Outcome::Optimal || outcome == Outcome::Infeasible ||
                        outcome == Outcome::Unbounded || outcome == Outcome::IntegerInfeasible ||
                        outcome == Outcome::InfeasibleOrUnbounded;
  if (engine_.worksInPlace && hasEnded && solver_->keepStart()) start_ = form_->model();
}

// What leads from an earlier model to this one.
void Session::findChanges(const LinearModel& earlier) {
  const LinearModel& model = form_->model();
  changes_.clear();
  compare(model.cost, earlier.cost, changes_.costs);
  compareBounds(model.lower, earlier.lower, model.upper, earlier.upper, changes_.columns);
  compareBounds(model.rowLower, earlier.rowLower, model.rowUpper, earlier.rowUpper, changes_.rows);
  const std::vector<int>& places = form_->changingPlaces();
  for (std::size_t k = 0; k < places.size(); ++k) {
    if (model.values[places[k]] == earlier.values[places[k]]) continue;
    changes_.places.push_back(places[k]);
    changes_.placeColumns.push_back(form_->changingColumns()[k]);
  }
}

// Changes of several solves add up if those before did not need the solver.
void Session::orderChanges() {
  for (std::vector<int>* list : {&changes_.costs, &changes_.columns, &changes_.rows}) order(*list);
  std::vector<int>& places = changes_.places;
  if (std::is_sorted(places.begin(), places.end(), std::less_equal<>())) return;
  order(places);
  const std::vector<int>& all = form_->changingPlaces();
  changes_.placeColumns.clear();
  for (const int place : places) {
    const auto found = std::lower_bound(all.begin(), all.end(), place) - all.begin();
    changes_.placeColumns.push_back(form_->changingColumns()[static_cast<std::size_t>(found)]);
  }
}

}  // namespace zdb::kit
