// The solver HiGHS: linear models in place, integer ones from the best levels of the last search.
#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/solvers/highslibrary.h"
#include "kit/solvers/solver.h"
#include "kit/solvers/watch.h"

namespace zdb::kit {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const HighsLibrary& api() {
  return *highsLibrary();
}

void require(int status, const char* what) {
  if (status == highs::Error) throw std::runtime_error(std::string("HiGHS failed to ") + what);
}

int iterationsSoFar(int type, const void* dataOut) {
  const bool isSearch = type == highs::MipInterrupt;
  const char* name = isSearch ? "mip_total_lp_iterations" : "simplex_iteration_count";
  const void* item = api().getCallbackDataOutItem(dataOut, name);
  if (item == nullptr) return 0;
  return isSearch ? static_cast<int>(*static_cast<const std::int64_t*>(item))
                  : *static_cast<const int*>(item);
}

// Messages are whole lines.
void tell(const Log& log, const char* message) {
  std::istringstream lines(message == nullptr ? "" : message);
  for (std::string line; std::getline(lines, line);) log.lineFromSolver(line.c_str());
}

void lookAtLimits(int type, const char* message, const void* dataOut, void* dataIn, void* watch) {
  auto& own = *static_cast<Watch*>(watch);
  if (type == highs::Logging) return tell(own.stop().log(), message);
  if (dataIn == nullptr || !own.ends(iterationsSoFar(type, dataOut))) return;
  static_cast<highs::CallbackDataIn*>(dataIn)->userInterrupt = 1;
}

int basisOf(int status) {
  switch (status) {
    case highs::BasisLower:
      return AtLower;
    case highs::BasisBasic:
      return Basic;
    case highs::BasisUpper:
      return AtUpper;
    default:
      return SuperBasic;
  }
}

// Values of some places.
std::vector<double> picked(const std::vector<double>& values, const std::vector<int>& places) {
  std::vector<double> some;
  some.reserve(places.size());
  for (const int place : places) some.push_back(values[place]);
  return some;
}

/// As HiGHS has it.
struct Basis {
  std::vector<int> columns;
  std::vector<int> rows;
};

// A problem that HiGHS holds.
class Problem {
 public:
  Problem() : highs_(api().create()) {
    if (highs_ == nullptr) throw std::bad_alloc();
    set("output_flag", false);
    set("log_to_console", false);
    set("threads", 1);
    set("parallel", "off");
    set("small_matrix_value", 1e-12);  // the least that it takes
    set("infinite_bound", kInfinity);  // it takes 1e20 for infinite, the other solvers do not
    set("infinite_cost", kInfinity);
    set("large_matrix_value", kInfinity);
  }
  ~Problem() { api().destroy(highs_); }
  Problem(const Problem&) = delete;
  Problem& operator=(const Problem&) = delete;

  void set(const char* option, bool value) { api().setBoolOptionValue(highs_, option, value); }
  void set(const char* option, int value) { api().setIntOptionValue(highs_, option, value); }
  void set(const char* option, double value) { api().setDoubleOptionValue(highs_, option, value); }
  void set(const char* option, const char* value) {
    api().setStringOptionValue(highs_, option, value);
  }

  // The types of columns are not passed for a linear problem.
  void load(const LinearModel& model, const std::vector<int>* types) {
    const int nonZeros = static_cast<int>(model.rows.size());
    const int status =
        types == nullptr
            ? api().passLp(highs_, model.columnCount(), model.rowCount(), nonZeros, highs::ByColumn,
                           highs::Minimize, model.offset, model.cost.data(), model.lower.data(),
                           model.upper.data(), model.rowLower.data(), model.rowUpper.data(),
                           model.starts.data(), model.rows.data(), model.values.data())
            : api().passMip(highs_, model.columnCount(), model.rowCount(), nonZeros,
                            highs::ByColumn, highs::Minimize, model.offset, model.cost.data(),
                            model.lower.data(), model.upper.data(), model.rowLower.data(),
                            model.rowUpper.data(), model.starts.data(), model.rows.data(),
                            model.values.data(), types->data());
    require(status, "take the model");
  }

  void change(const LinearModel& model, const Changes& changes) {
    require(api().changeObjectiveOffset(highs_, model.offset), "change the objective");
    if (!changes.costs.empty()) {
      require(api().changeColsCostBySet(highs_, sizeOf(changes.costs), changes.costs.data(),
                                        picked(model.cost, changes.costs).data()),
              "change costs");
    }
    setBounds(changes.columns, picked(model.lower, changes.columns),
              picked(model.upper, changes.columns));
    if (!changes.rows.empty()) {
      require(api().changeRowsBoundsBySet(highs_, sizeOf(changes.rows), changes.rows.data(),
                                          picked(model.rowLower, changes.rows).data(),
                                          picked(model.rowUpper, changes.rows).data()),
              "change right-hand sides");
    }
    for (std::size_t k = 0; k < changes.places.size(); ++k) {
      const int place = changes.places[k];
      require(api().changeCoeff(highs_, model.rows[place], changes.placeColumns[k],
                                model.values[place]),
              "change a coefficient");
    }
  }

  void setBounds(const std::vector<int>& columns, const std::vector<double>& lower,
                 const std::vector<double>& upper) {
    if (columns.empty()) return;
    require(api().changeColsBoundsBySet(highs_, sizeOf(columns), columns.data(), lower.data(),
                                        upper.data()),
            "change bounds");
  }

  void forget() { require(api().clearSolver(highs_), "forget its basis"); }
  void startFrom(const std::vector<double>& levels) {
    api().setSolution(highs_, levels.data(), nullptr, nullptr, nullptr);
  }

  // Returns HiGHS' status of the model.
  int run(Watch& watch) {
    api().setCallback(highs_, lookAtLimits, &watch);
    api().startCallback(highs_, highs::SimplexInterrupt);
    api().startCallback(highs_, highs::MipInterrupt);
    const StopToken& stop = watch.stop();
    set("output_flag", stop.log().isOn());
    if (stop.log().isOn()) api().startCallback(highs_, highs::Logging);
    api().zeroAllClocks(highs_);  // which run on from the runs before
    const double seconds = stop.secondsLeft(0.001);
    set("time_limit", seconds > 0.0 ? seconds : kInfinity);
    set("simplex_iteration_limit", watch.left());
    const int status = api().run(highs_);
    watch.count(intInfo("simplex_iteration_count"));
    require(status, "solve the model");
    return api().getModelStatus(highs_);
  }

  int intInfo(const char* name) const {
    int value = 0;
    api().getIntInfoValue(highs_, name, &value);
    return value;
  }
  double doubleInfo(const char* name) const {
    double value = std::numeric_limits<double>::quiet_NaN();
    api().getDoubleInfoValue(highs_, name, &value);
    return value;
  }
  bool isFeasible() const { return intInfo("primal_solution_status") == highs::FeasibleSolution; }

  void fetchLevels(Solution& solution) const {
    api().getSolution(highs_, solution.level.data(), nullptr, solution.rowLevel.data(), nullptr);
    solution.hasLevels = true;
  }
  void fetch(Solution& solution) const {
    api().getSolution(highs_, solution.level.data(), solution.marginal.data(),
                      solution.rowLevel.data(), solution.rowMarginal.data());
    api().getBasis(highs_, solution.basis.data(), solution.rowBasis.data());
    for (std::vector<int>* statuses : {&solution.basis, &solution.rowBasis}) {
      std::transform(statuses->begin(), statuses->end(), statuses->begin(), basisOf);
    }
  }

  Basis basis(int columns, int rows) const {
    Basis basis = {std::vector<int>(static_cast<std::size_t>(columns)),
                   std::vector<int>(static_cast<std::size_t>(rows))};
    api().getBasis(highs_, basis.columns.data(), basis.rows.data());
    return basis;
  }
  void setBasis(const Basis& basis) {
    require(api().setBasis(highs_, basis.columns.data(), basis.rows.data()), "take its basis");
  }

 private:
  static int sizeOf(const std::vector<int>& set) { return static_cast<int>(set.size()); }

  void* highs_;
};

Outcome outcomeOf(int status, const Watch& watch) {
  switch (status) {
    case highs::OptimalModel:
      return Outcome::Optimal;
    case highs::InfeasibleModel:
      return Outcome::Infeasible;
    case highs::UnboundedOrInfeasibleModel:
      return Outcome::InfeasibleOrUnbounded;
    case highs::UnboundedModel:
      return Outcome::Unbounded;
    case highs::TimeLimitReached:
    case highs::IterationLimitReached:
    case highs::InterruptedByUser:
      return watch.reason();
    default:
      return Outcome::Stopped;
  }
}

// A linear problem, with the basis of its last run.
class LinearProblem : public Problem {
 public:
  LinearProblem() { set("solver", "simplex"); }

  // A run that leaves open how the model is is tried again without what was there before.
  Outcome solve(bool isHot, bool isDual, Watch& watch) {
    set("simplex_strategy", isDual ? highs::DualSimplex : highs::PrimalSimplex);
    if (!isHot) forget();
    Outcome outcome = outcomeOf(run(watch), watch);
    if (isHot && outcome == Outcome::Stopped) {
      forget();
      outcome = outcomeOf(run(watch), watch);
    }
    return outcome;
  }
};

class Highs : public Solver {
 public:
  void load(const LinearModel& model) override {
    integers_.clear();
    std::vector<int> types;
    for (std::size_t j = 0; j < model.isInteger.size(); ++j) {
      types.push_back(model.isInteger[j] != 0 ? highs::IntegerVariable : highs::Continuous);
      if (model.isInteger[j] != 0) integers_.push_back(static_cast<int>(j));
    }
    linear_.load(model, nullptr);
    isInteger_ = !types.empty();
    columns_ = model.columnCount();
    rows_ = model.rowCount();
    best_.clear();
    if (isInteger_) integer_.load(model, &types);
    keepBounds(model);
  }

  void change(const LinearModel& model, const Changes& changes) override {
    linear_.change(model, changes);
    if (isInteger_) integer_.change(model, changes);
    keepBounds(model);
  }

  Outcome solve(const Changes* changes, const StopToken& stop, Solution& solution) override {
    Watch watch(stop);
    if (stop.isStopRequested()) return stop.reason();
    const Outcome outcome =
        isInteger_ ? search(changes, stop, watch, solution) : solveLinear(changes, watch, solution);
    solution.iterations = watch.iterations();
    return outcome;
  }

  void fetch(Solution& solution) override { linear_.fetch(solution); }
  double objective(const LinearModel& /*model*/) const override {
    return linear_.doubleInfo("objective_function_value");
  }

  // Basis and best levels are all that a solve goes by; the problem is loaded again, as others.
  bool keepStart() override {
    start_ = linear_.basis(columns_, rows_);
    startingBest_ = best_;
    return true;
  }
  void goBack(const LinearModel& model) override {
    load(model);
    linear_.setBasis(start_);
    best_ = startingBest_;
  }

 private:
  Outcome solveLinear(const Changes* changes, Watch& watch, Solution& solution) {
    const bool isHot = changes != nullptr;
    const Outcome outcome = linear_.solve(isHot, !isHot || changes->needsDualStart(), watch);
    const bool isKnown = outcome == Outcome::Infeasible || outcome == Outcome::Unbounded ||
                         outcome == Outcome::InfeasibleOrUnbounded;
    solution.hasLevels = solution.isInSolver = !isKnown && linear_.isFeasible();
    return outcome;
  }

  Outcome search(const Changes* changes, const StopToken& stop, Watch& watch, Solution& solution) {
    integer_.set("mip_rel_gap", stop.relativeGap());
    integer_.set("mip_abs_gap", stop.absoluteGap());
    integer_.forget();
    if (changes != nullptr && !best_.empty()) integer_.startFrom(best_);
    const Outcome outcome = outcomeOf(integer_.run(watch), watch);
    const bool isOpen = outcome == Outcome::Infeasible || outcome == Outcome::Unbounded ||
                        outcome == Outcome::InfeasibleOrUnbounded;
    if (isOpen) return withoutIntegers(watch);
    const double bound = integer_.doubleInfo("mip_dual_bound");
    if (std::isfinite(bound)) solution.bound = bound;
    if (!integer_.isFeasible()) return outcome == Outcome::Optimal ? Outcome::Stopped : outcome;
    integer_.fetchLevels(solution);
    best_ = solution.level;
    fixIntegers(watch, solution);
    return outcome;
  }

  // What the relaxation tells of a model that has no solution.
  Outcome withoutIntegers(Watch& watch) {
    const Outcome outcome = linear_.solve(false, true, watch);
    return outcome == Outcome::Optimal ? Outcome::IntegerInfeasible : outcome;
  }

  // Marginals are those of the model with its integer columns fixed at their levels. If there is no
  // time, or rounding made it infeasible, the levels are those that were found.
  void fixIntegers(Watch& watch, Solution& solution) {
    if (watch.isStopped()) return;
    std::vector<double> levels = picked(solution.level, integers_);
    for (double& level : levels) level = std::round(level);
    linear_.setBounds(integers_, levels, levels);
    if (linear_.solve(true, true, watch) == Outcome::Optimal) linear_.fetch(solution);
    linear_.setBounds(integers_, integerLower_, integerUpper_);
  }

  void keepBounds(const LinearModel& model) {
    integerLower_ = picked(model.lower, integers_);
    integerUpper_ = picked(model.upper, integers_);
  }

  LinearProblem linear_;  // of an integer model the relaxation
  Problem integer_;
  bool isInteger_ = false;
  std::vector<int> integers_;  // columns, ascending
  std::vector<double> integerLower_;
  std::vector<double> integerUpper_;
  std::vector<double> best_;  // levels of the last search, if it found any
  int columns_ = 0;
  int rows_ = 0;
  Basis start_;  // that was kept
  std::vector<double> startingBest_;
};

}  // namespace

std::unique_ptr<Solver> makeHighs() {
  return std::make_unique<Highs>();
}

const char* highsVersion() {
  return highsLibrary() == nullptr ? "" : api().version();
}

}  // namespace zdb::kit
