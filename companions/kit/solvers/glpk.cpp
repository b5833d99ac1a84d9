// The plug-in with the solver glpk: linear models in place, integer ones on top of that.
//
// GLPK keeps its memory per thread, and where it meets an error of its own, it ends the process
// unless it is left by a jump. So each solver has a thread, in which all of GLPK runs and whose
// memory is freed as a whole.
#include <glpk.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kit/solvers/glpkplugin.h"
#include "kit/solvers/watch.h"
#include "kit/solvers/worker.h"
#include "shared/boundary.h"

namespace zdb::kit {

namespace {

// Milliseconds between looks at the stop token, which GLPK's simplex cannot be told of otherwise.
constexpr double kSlice = 200.0;

int boundType(double lower, double upper) {
  if (std::isinf(lower)) return std::isinf(upper) ? GLP_FR : GLP_UP;
  if (std::isinf(upper)) return GLP_LO;
  return lower == upper ? GLP_FX : GLP_DB;
}

int basisOf(int status) {
  switch (status) {
    case GLP_BS:
      return Basic;
    case GLP_NU:
      return AtUpper;
    case GLP_NF:
      return SuperBasic;
    default:
      return AtLower;
  }
}

struct Search;

// What runs in the thread. Objects with destructors must not live in functions that call GLPK:
// the jump passes them by.
class Problem {
 public:
  void load(const LinearModel& model);
  void change(const LinearModel& model, const Changes& changes);
  void solve(const Changes* changes, const StopToken& stop, Solution& solution);

  void fetch(Solution& solution) const;
  double objective() const { return glp_get_obj_val(problem_); }

  void keepStart();
  void goBack(const LinearModel& model);

  Outcome outcome = Outcome::SolverFailed;

 private:
  void setColumn(const LinearModel& model, int column);
  void setBounds(const LinearModel& model, int column);
  void setRow(const LinearModel& model, int row);
  void keepBounds(const LinearModel& model);
  int simplex(int method, Watch& watch);
  Outcome relaxationOutcome(int code, const Watch& watch) const;
  int runSearch(Search& search, int cuts);
  Outcome branch(Watch& watch, Solution& solution);
  void fixIntegers(Watch& watch, Solution& solution);
  int messageLevel(const StopToken& stop) const {
    return stop.log().isOn() ? GLP_MSG_ALL : GLP_MSG_OFF;
  }
  bool isInteger(int column) const { return !integer_.empty() && integer_[column] != 0; }

  glp_prob* problem_ = nullptr;
  glp_prob* start_ = nullptr;  // a copy
  std::vector<char> integer_;
  std::vector<double> lower_;  // of columns, to be put back when integer ones were fixed
  std::vector<double> upper_;
  std::vector<int> indices_;  // of a column, from 1; kept to be reused
  std::vector<double> values_;
};

void Problem::load(const LinearModel& model) {
  if (problem_ != nullptr) glp_delete_prob(problem_);
  problem_ = glp_create_prob();
  integer_ = model.isInteger;
  lower_ = model.lower;
  upper_ = model.upper;
  indices_.resize(static_cast<std::size_t>(model.rowCount()) + 1);
  values_.resize(indices_.size());
  glp_add_rows(problem_, model.rowCount());
  glp_add_cols(problem_, model.columnCount());
  glp_set_obj_coef(problem_, 0, model.offset);
  for (int i = 0; i < model.rowCount(); ++i) setRow(model, i);
  for (int j = 0; j < model.columnCount(); ++j) {
    setBounds(model, j);
    setColumn(model, j);
    glp_set_obj_coef(problem_, j + 1, model.cost[j]);
    if (isInteger(j)) glp_set_col_kind(problem_, j + 1, GLP_IV);
  }
}

void Problem::setRow(const LinearModel& model, int row) {
  glp_set_row_bnds(problem_, row + 1, boundType(model.rowLower[row], model.rowUpper[row]),
                   model.rowLower[row], model.rowUpper[row]);
}

void Problem::setBounds(const LinearModel& model, int column) {
  glp_set_col_bnds(problem_, column + 1, boundType(model.lower[column], model.upper[column]),
                   model.lower[column], model.upper[column]);
}

// GLPK leaves values of 0 out.
void Problem::setColumn(const LinearModel& model, int column) {
  int count = 0;
  for (int place = model.starts[column]; place < model.starts[column + 1]; ++place) {
    ++count;
    indices_[count] = model.rows[place] + 1;
    values_[count] = model.values[place];
  }
  glp_set_mat_col(problem_, column + 1, count, indices_.data(), values_.data());
}

void Problem::change(const LinearModel& model, const Changes& changes) {
  glp_set_obj_coef(problem_, 0, model.offset);
  for (const int j : changes.columns) setBounds(model, j);
  for (const int i : changes.rows) setRow(model, i);
  for (const int j : changes.costs) glp_set_obj_coef(problem_, j + 1, model.cost[j]);
  int previous = -1;
  for (const int column : changes.placeColumns) {
    if (column != previous) setColumn(model, column);
    previous = column;
  }
  keepBounds(model);
}

void Problem::keepBounds(const LinearModel& model) {
  if (integer_.empty()) return;
  lower_ = model.lower;
  upper_ = model.upper;
}

// A copy of the whole: changes of coefficients leave them in another order, which sums depend on.
void Problem::keepStart() {
  start_ = glp_create_prob();
  glp_copy_prob(start_, problem_, GLP_OFF);
}

void Problem::goBack(const LinearModel& model) {
  glp_copy_prob(problem_, start_, GLP_OFF);
  keepBounds(model);
}

void Problem::solve(const Changes* changes, const StopToken& stop, Solution& solution) {
  Watch watch(stop);
  if (changes == nullptr) {
    if (!stop.isStopRequested()) glp_scale_prob(problem_, GLP_SF_AUTO);
    if (!stop.isStopRequested()) glp_adv_basis(problem_, 0);
  }
  const bool isDual = changes != nullptr && changes->needsDualStart();
  const int code = simplex(isDual ? GLP_DUALP : GLP_PRIMAL, watch);
  outcome = relaxationOutcome(code, watch);
  if (outcome == Outcome::Optimal && !integer_.empty()) {
    outcome = branch(watch, solution);
  } else if (outcome == Outcome::Optimal ||
             (integer_.empty() && glp_get_prim_stat(problem_) == GLP_FEAS &&
              outcome != Outcome::Unbounded && !isFailure(outcome))) {
    solution.hasLevels = solution.isInSolver = true;
  }
  solution.iterations = watch.iterations();
}

// Whether a simplex that has ended by itself leaves open how: the dual one does that to models that
// are unbounded, or infeasible in both ways.
bool isUndecided(glp_prob* problem) {
  const int status = glp_get_status(problem);
  return status != GLP_OPT && status != GLP_NOFEAS && status != GLP_UNBND;
}

// A basis that cannot be factorized, after coefficients have changed, gives way to a new one.
int Problem::simplex(int method, Watch& watch) {
  glp_smcp how;
  glp_init_smcp(&how);
  how.msg_lev = messageLevel(watch.stop());
  how.meth = method;
  bool isNewBasis = false;
  for (;;) {
    if (watch.ends()) return GLP_EITLIM;
    how.it_lim = watch.left();
    const double timeLeft = watch.stop().secondsLeft(0.001) * 1000.0;  // 0: no limit
    how.tm_lim = static_cast<int>(timeLeft > 0.0 ? std::min(timeLeft, kSlice) : kSlice);
    const int before = glp_get_it_cnt(problem_);
    const int code = glp_simplex(problem_, &how);
    watch.count(glp_get_it_cnt(problem_) - before);
    if (code == GLP_EITLIM || code == GLP_ETMLIM) continue;
    if (code == 0 && how.meth == GLP_DUALP && isUndecided(problem_)) {
      how.meth = GLP_PRIMAL;
      continue;
    }
    const bool isBadBasis = code == GLP_EBADB || code == GLP_ESING || code == GLP_ECOND;
    if (!isBadBasis || isNewBasis) return code;
    isNewBasis = true;
    how.meth = GLP_PRIMAL;
    glp_std_basis(problem_);
  }
}

Outcome Problem::relaxationOutcome(int code, const Watch& watch) const {
  if (code == GLP_EITLIM) return watch.reason();
  if (code == GLP_EFAIL) return Outcome::Stopped;
  if (code != 0) return Outcome::SolverFailed;
  switch (glp_get_status(problem_)) {
    case GLP_OPT:
      return Outcome::Optimal;
    case GLP_NOFEAS:
      return Outcome::Infeasible;
    case GLP_UNBND:
      return Outcome::Unbounded;
    default:
      return Outcome::Stopped;
  }
}

// GLPK's simplex may go in circles at a node of a search, where it heeds its time limit alone. A
// node that takes this much longer than all before it is given up.
constexpr double kShortestPatience = 10.0;  // seconds
constexpr double kPatience = 20.0;          // times the longest step so far

// What a search keeps to, and how far it has come.
struct Search {
  Search(Watch& ownWatch, double relaxation) : watch(ownWatch), bound(relaxation) {}

  bool isStuck(int code) const;
  void waitForStep();

  Watch& watch;
  double bound;        // of the objective
  int before = 0;      // iterations, of which GLPK counts all that the problem ever took
  double start = 0.0;  // seconds, by the clock of the watch
  double last = 0.0;   // of the end of a step
  double longest = 0.0;
  glp_iocp how = {};  // GLPK reads the time limit before each node
  bool isCloseEnough = false;
};

// The clock of GLPK is not that of the solve.
bool Search::isStuck(int code) const {
  constexpr double kSlack = 0.05;
  const StopToken& stop = watch.stop();
  const double left = stop.secondsLeft(0.001);  // 0: no limit
  return code == GLP_ETMLIM && !stop.isInterrupted() && (left == 0.0 || left > kSlack);
}

void Search::waitForStep() {
  const StopToken& stop = watch.stop();
  const double now = stop.elapsed();
  longest = std::max(longest, now - last);
  last = now;
  double patience = std::max(kShortestPatience, kPatience * longest);
  const double left = stop.secondsLeft(0.001);  // 0: no limit
  if (left > 0.0) patience = std::min(patience, left);
  how.tm_lim = static_cast<int>(std::min((now - start + patience) * 1000.0, 1.0e9));
}

// GLPK has no absolute gap, and the tree is gone when the search returns.
void lookAtLimits(glp_tree* tree, void* limits) {
  auto* search = static_cast<Search*>(limits);
  glp_prob* problem = glp_ios_get_prob(tree);
  const int best = glp_ios_best_node(tree);
  if (best != 0) search->bound = std::max(search->bound, glp_ios_node_bound(tree, best));
  const StopToken& stop = search->watch.stop();
  search->isCloseEnough = stop.hasGap() && glp_mip_status(problem) == GLP_FEAS &&
                          stop.isCloseEnough(glp_mip_obj_val(problem), search->bound);
  const bool ends = search->watch.ends(glp_get_it_cnt(problem) - search->before);
  if (ends || search->isCloseEnough) glp_ios_terminate(tree);
  search->waitForStep();
}

int Problem::runSearch(Search& search, int cuts) {
  const StopToken& stop = search.watch.stop();
  search.before = glp_get_it_cnt(problem_);
  search.start = search.last = stop.elapsed();
  glp_init_iocp(&search.how);
  search.how.msg_lev = messageLevel(stop);
  search.how.gmi_cuts = cuts;
  search.how.mir_cuts = cuts;
  search.how.cb_func = lookAtLimits;
  search.how.cb_info = &search;
  search.waitForStep();
  const int code = glp_intopt(problem_, &search.how);
  search.watch.count(glp_get_it_cnt(problem_) - search.before);
  return code;
}

// Without cuts, relaxations are simpler, and searches that were stuck have come to their end.
Outcome Problem::branch(Watch& watch, Solution& solution) {
  Search own(watch, glp_get_obj_val(problem_));
  int code = runSearch(own, GLP_ON);
  if (own.isStuck(code) && simplex(GLP_PRIMAL, watch) == 0) code = runSearch(own, GLP_OFF);
  const int status = glp_mip_status(problem_);
  if (status == GLP_OPT || status == GLP_FEAS) fixIntegers(watch, solution);
  solution.bound = status == GLP_OPT ? glp_mip_obj_val(problem_) : own.bound;
  if (code == GLP_ESTOP && own.isCloseEnough) return Outcome::Optimal;
  if (own.isStuck(code)) return Outcome::Stopped;
  if (code == GLP_ETMLIM) return watch.stop().reason();
  if (code == GLP_ESTOP) return watch.reason();
  if (code == GLP_EFAIL) return Outcome::Stopped;
  if (code != 0) return Outcome::SolverFailed;
  if (status == GLP_OPT) return Outcome::Optimal;
  return status == GLP_NOFEAS ? Outcome::IntegerInfeasible : Outcome::Stopped;
}

// Marginals are those of the model with its integer columns fixed at their levels.
void Problem::fixIntegers(Watch& watch, Solution& solution) {
  const int columns = glp_get_num_cols(problem_);
  for (int j = 1; j <= columns; ++j) {
    if (!isInteger(j - 1)) continue;
    const double level = std::round(glp_mip_col_val(problem_, j));
    glp_set_col_bnds(problem_, j, GLP_FX, level, level);
  }
  glp_smcp how;
  glp_init_smcp(&how);
  how.msg_lev = messageLevel(watch.stop());
  how.meth = GLP_DUALP;
  const int before = glp_get_it_cnt(problem_);
  const bool isSolved = !watch.stop().isStopRequested() && glp_simplex(problem_, &how) == 0;
  watch.count(glp_get_it_cnt(problem_) - before);
  solution.hasLevels = true;
  if (isSolved && glp_get_status(problem_) == GLP_OPT) {
    fetch(solution);
  } else {  // no time, or rounding made it infeasible: the levels as they were found
    for (int j = 1; j <= columns; ++j) solution.level[j - 1] = glp_mip_col_val(problem_, j);
    const int rows = glp_get_num_rows(problem_);
    for (int i = 1; i <= rows; ++i) solution.rowLevel[i - 1] = glp_mip_row_val(problem_, i);
  }
  for (int j = 1; j <= columns; ++j) {
    if (!isInteger(j - 1)) continue;
    glp_set_col_bnds(problem_, j, boundType(lower_[j - 1], upper_[j - 1]), lower_[j - 1],
                     upper_[j - 1]);
  }
}

void Problem::fetch(Solution& solution) const {
  const int columns = glp_get_num_cols(problem_);
  const int rows = glp_get_num_rows(problem_);
  for (int j = 1; j <= columns; ++j) {
    solution.level[j - 1] = glp_get_col_prim(problem_, j);
    solution.marginal[j - 1] = glp_get_col_dual(problem_, j);
    solution.basis[j - 1] = basisOf(glp_get_col_stat(problem_, j));
  }
  for (int i = 1; i <= rows; ++i) {
    solution.rowLevel[i - 1] = glp_get_row_prim(problem_, i);
    solution.rowMarginal[i - 1] = glp_get_row_dual(problem_, i);
    solution.rowBasis[i - 1] = basisOf(glp_get_row_stat(problem_, i));
  }
}

// Takes what GLPK says, in pieces, and passes it on line by line. GLPK turns its output on by
// itself to tell of its errors.
class Terminal {
 public:
  void setLog(const Log& log) {
    log_ = log;
    line_.clear();
    glp_term_out(log.isOn() ? GLP_ON : GLP_OFF);
    glp_term_hook(take, this);
  }

 private:
  static int take(void* terminal, const char* text) {
    auto& own = *static_cast<Terminal*>(terminal);
    boundary::guarded(false, [&] { return own.add(text); });
    return 1;
  }
  bool add(std::string_view text) {
    if (!log_.isOn()) return true;
    for (const char c : text) {
      if (c != '\n') line_ += c;
      if (c != '\n') continue;
      log_.lineFromSolver(line_.c_str());
      line_.clear();
    }
    return true;
  }

  Log log_;
  std::string line_;
};

void jumpOut(void* place) {
  std::longjmp(*static_cast<std::jmp_buf*>(place), 1);
}

class Glpk : public Solver {
 public:
  Glpk() = default;
  ~Glpk() override {
    worker_.run([] { glp_free_env(); });
  }

  void load(const LinearModel& model) override {
    run({}, [&] { problem_.load(model); });
  }
  void change(const LinearModel& model, const Changes& changes) override {
    run({}, [&] { problem_.change(model, changes); });
  }
  Outcome solve(const Changes* changes, const StopToken& stop, Solution& solution) override {
    run(stop.log(), [&] { problem_.solve(changes, stop, solution); });
    return problem_.outcome;
  }
  void fetch(Solution& solution) override {
    run({}, [&] { problem_.fetch(solution); });
  }
  double objective(const LinearModel& /*model*/) const override { return problem_.objective(); }

  bool keepStart() override {
    run({}, [&] { problem_.keepStart(); });
    return true;
  }
  void goBack(const LinearModel& model) override {
    run({}, [&] { problem_.goBack(model); });
  }

 private:
  template <typename Task>
  void run(const Log& log, Task task) {
    bool isDone = false;
    worker_.run([&] { isDone = boundary::guarded(false, [&] { return finishes(log, task); }); });
    if (!isDone) throw std::runtime_error("glpk failed: out of memory or an internal error");
  }

  // After a jump the problem is gone with all memory that GLPK had.
  template <typename Task>
  bool finishes(const Log& log, Task& task) {
    constexpr int wasThere = 1;
    if (glp_init_env() > wasThere) return false;  // where all others would end the process
    std::jmp_buf place;
    if (setjmp(place) != 0) {
      glp_error_hook(nullptr, nullptr);
      glp_free_env();
      return false;
    }
    terminal_.setLog(log);
    glp_error_hook(jumpOut, &place);
    task();
    glp_error_hook(nullptr, nullptr);
    return true;
  }

  Problem problem_;
  Terminal terminal_;
  Worker worker_;
};

constexpr GlpkPlugin kPlugin = {ZKIT_VERSION, glp_version, []() -> std::unique_ptr<Solver> {
                                  return std::make_unique<Glpk>();
                                }};

}  // namespace

}  // namespace zdb::kit

extern "C" __attribute__((visibility("default"))) const zdb::kit::GlpkPlugin* zkitGlpk() {
  return &zdb::kit::kPlugin;
}
