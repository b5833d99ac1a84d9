// Solves scenarios of a model one after the other, with what they change and show in arrays.
#include <pybind11/stl.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "kit/interrupt.h"
#include "kit/model.h"

namespace py = pybind11;

namespace zdbpy {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
/// Numbers of an outcome: objective, bound, gap, seconds.
constexpr std::size_t kOutcomeNumbers = 4;

/// Why a sweep returned.
enum Ending { kDone = 0, kTimeSlice = 1, kStopped = 2, kSolverGone = 3 };

/// Entries of a symbol whose values are shown, and of which kind: 0 levels, 1 marginals.
struct Shown {
  std::string symbol;
  Numbers keys;  ///< entries x positions, label numbers
  int field;

  std::int64_t entries() const { return keys.shape(0); }
  int dim() const { return static_cast<int>(keys.shape(1)); }
};

/// The arrays that a sweep reads and fills, a row for each scenario.
class Table {
 public:
  /// Raises if their shapes do not fit.
  Table(const Doubles& values, const std::optional<Numbers>& variants, Numbers& statuses,
        Numbers& iterations, Doubles& outcomes, Doubles& shown, std::size_t targets,
        std::size_t entries)
      : count_(statuses.size()),
        targets_(targets),
        entries_(entries),
        values_(values.data()),
        variants_(variants ? variants->data() : nullptr),
        statuses_(statuses.mutable_data()),
        iterations_(iterations.mutable_data()),
        outcomes_(outcomes.mutable_data()),
        shown_(shown.mutable_data()) {
    const auto rows = static_cast<std::size_t>(count_);
    const auto size = [](const auto& array) { return static_cast<std::size_t>(array.size()); };
    const bool fits = size(values) == rows * targets && size(iterations) == rows * 2 &&
                      size(outcomes) == rows * kOutcomeNumbers && size(shown) == rows * entries &&
                      (!variants || size(*variants) == rows);
    if (!fits) raise(Failure::argument("the arrays of a sweep do not have the same rows"));
  }

  std::int64_t count() const { return count_; }
  const double* values(std::int64_t row) const { return values_ + at(row, targets_); }
  int variant(std::int64_t row) const { return variants_ == nullptr ? -1 : variants_[row]; }
  double* shown(std::int64_t row) const { return shown_ + at(row, entries_); }
  void setOutcome(std::int64_t row, void* instance, bool isSolved) const;

 private:
  static std::size_t at(std::int64_t row, std::size_t width) {
    return static_cast<std::size_t>(row) * width;
  }

  std::int64_t count_;
  std::size_t targets_;
  std::size_t entries_;
  const double* values_;
  const std::int32_t* variants_;
  std::int32_t* statuses_;
  std::int32_t* iterations_;
  double* outcomes_;
  double* shown_;
};

bool hasLevels(void* instance) {
  const int status = zkitModelStatus(instance);
  return status == ZKIT_OPTIMAL || status == ZKIT_INTEGER_SOLUTION || status == ZKIT_FEASIBLE;
}

void Table::setOutcome(std::int64_t row, void* instance, bool isSolved) const {
  double* const numbers = outcomes_ + at(row, kOutcomeNumbers);
  const bool hasObjective = isSolved && zkitObjectiveColumn(instance) >= 0;
  numbers[0] = hasObjective ? zkitObjective(instance) : kUnknown;
  numbers[1] = zkitBound(instance);
  numbers[2] = zkitGap(instance);
  numbers[3] = zkitSeconds(instance);
  std::int32_t* const counts = iterations_ + at(row, 2);
  counts[0] = zkitIterations(instance);
  counts[1] = zkitSolveStatus(instance);
  statuses_[row] = zkitModelStatus(instance);
}

/// One pass over some scenarios. Needs no GIL, but when it is made.
class Pass {
 public:
  Pass(void* instance, zdbHandle_t db, const Targets& targets, const Table& table,
       const std::vector<Shown>& shown)
      : instance_(instance),
        db_(db),
        targets_(targets),
        table_(table),
        shown_(shown),
        last_(targets.size(), kUnknown) {}

  /// What a variant takes back must be set again after it.
  void keep(const Targets& constants, const double* values) {
    constants_ = &constants;
    constantValues_ = values;
  }

  /// Solves a scenario and fills its row. On failure, `why` is not empty and the row unchanged.
  std::string solve(std::int64_t row, const std::string& solver) {
    std::string why = change(row);
    if (!why.empty()) return why;
    zdbx_clear_error(db_);
    if (auto failure = solveOnce(instance_, db_, solver.c_str())) {
      return failure->reason.empty() ? failure->text : failure->text + ": " + failure->reason;
    }
    if (zkitSolveStatus(instance_) == ZKIT_INTERRUPTED) return "";
    const bool isSolved = hasLevels(instance_);
    double* place = table_.shown(row);
    for (const Shown& each : shown_) {
      if (isSolved && !readShown(each, place)) return zdbx_error_text(db_);
      if (!isSolved) std::fill_n(place, each.entries(), kUnknown);
      place += each.entries();
    }
    table_.setOutcome(row, instance_, isSolved);
    return "";
  }

 private:
  std::string change(std::int64_t row) {
    std::string why;
    if (table_.variant(row) != variant_) {
      variant_ = table_.variant(row);
      if (zkitUseVariant(instance_, variant_) == 0) {
        char message[ZKIT_TEXT_SIZE] = "";
        zkitVariantState(instance_, variant_, message, sizeof message);
        variant_ = -2;  // whatever comes next is another one
        return *message == '\0' ? "the values of its params cannot be used" : message;
      }
      last_.assign(last_.size(), kUnknown);
      for (std::size_t i = 0; constants_ != nullptr && i < constants_->size(); ++i) {
        if (!constants_->set(instance_, i, constantValues_[i], why)) return why;
      }
    }
    const double* const values = table_.values(row);
    for (std::size_t i = 0; i < last_.size(); ++i) {
      if (values[i] == last_[i]) continue;
      last_[i] = kUnknown;
      if (!targets_.set(instance_, i, values[i], why)) return why;
      last_[i] = values[i];
    }
    return "";
  }

  bool readShown(const Shown& each, double* place) const {
    zdbSymbol_t symbol = nullptr;
    if (c__zdbfindsymbol(db_, each.symbol.c_str(), &symbol) == 0) return false;
    zdbx_columns keys = {};
    keys.size = sizeof keys;
    keys.rows = each.entries();
    for (int i = 0; i < each.dim(); ++i) {
      keys.keys[i] = {each.keys.data() + i,
                      static_cast<std::int64_t>(sizeof(std::int32_t)) * each.dim()};
    }
    zdbx_buffers buffers = {};
    buffers.size = sizeof buffers;
    buffers.rows = each.entries();
    buffers.values[each.field].data = place;
    return zdbx_find_records(db_, symbol, &keys, &buffers, nullptr, nullptr) != 0;
  }

  void* instance_;
  zdbHandle_t db_;
  const Targets& targets_;
  const Table& table_;
  const std::vector<Shown>& shown_;
  const Targets* constants_ = nullptr;
  const double* constantValues_ = nullptr;
  int variant_ = -2;  ///< of the last scenario; -2: not known
  std::vector<double> last_;
};

/// Solves scenarios from `first` on, for about `seconds`. Returns the next one and why it ended;
/// what failed, and why, is in `failures`, by scenario.
py::tuple sweep(Model& self, const py::str& solver, const Targets& targets, const Doubles& values,
                const Targets& constants, const Doubles& constantValues,
                const std::optional<Numbers>& variants,
                const std::vector<std::tuple<py::str, Numbers, int>>& shown, std::int64_t first,
                double seconds, bool keepsGoing, Numbers statuses, Numbers iterations,
                Doubles outcomes, Doubles shownValues, const py::dict& failures) {
  std::vector<Shown> columns;
  std::size_t entries = 0;
  for (const auto& [symbol, keys, field] : shown) {
    if (keys.ndim() != 2 || keys.shape(1) > ZDB_MAX_DIM || field < 0 || field > 1) {
      raise(Failure::argument("what is shown must have rows of label numbers"));
    }
    columns.push_back({textOf(symbol), keys, field});
    entries += static_cast<std::size_t>(keys.shape(0));
  }
  const Table table(values, variants, statuses, iterations, outcomes, shownValues, targets.size(),
                    entries);
  if (static_cast<std::size_t>(constantValues.size()) != constants.size()) {
    raise(Failure::argument("there must be a value for each constant"));
  }
  const double* const fixed = constantValues.data();
  const std::string name = textOf(solver);
  std::vector<std::pair<std::int64_t, std::string>> failed;
  std::int64_t next = first;
  int ending = kDone;
  self.start();
  const Interrupt interrupt(self.instance());
  const auto failure = self.tryCall([&](void* instance, zdbHandle_t db) {
    Pass pass(instance, db, targets, table, columns);
    pass.keep(constants, fixed);
    const auto start = Clock::now();
    const std::chrono::duration<double> slice(seconds);
    for (; next < table.count(); ++next) {
      if (next > first && Clock::now() - start > slice) ending = kTimeSlice;
      if (self.isStopping() || interrupt.isRequested()) ending = kStopped;
      if (ending != kDone) break;
      const std::string why = pass.solve(next, name);
      if (!why.empty()) failed.emplace_back(next, why);
      const int end = zkitSolveStatus(instance);
      if (why.empty() && end == ZKIT_INTERRUPTED) ending = kStopped;
      if (ending != kDone || (!why.empty() && !keepsGoing)) break;
      if (!why.empty() && end == ZKIT_SOLVER_FAILED) {
        ++next;
        ending = kSolverGone;
        break;
      }
    }
    return std::optional<Failure>();
  });
  for (const auto& [row, why] : failed) failures[py::int_(row)] = strOf(why);
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  if (failure) raise(*failure);
  return py::make_tuple(next, ending);
}

}  // namespace

void bindSweep(py::module_& module) {
  auto model = py::reinterpret_borrow<py::class_<Model>>(module.attr("Model"));
  model.def("sweep", &sweep, py::arg("solver"), py::arg("targets"), py::arg("values"),
            py::arg("constants"), py::arg("constant_values"), py::arg("variants"), py::arg("shown"),
            py::arg("first"), py::arg("seconds"), py::arg("keep_going"),
            py::arg("statuses").noconvert(), py::arg("iterations").noconvert(),
            py::arg("outcomes").noconvert(), py::arg("shown_values").noconvert(),
            py::arg("failures"));
  module.attr("SWEEP_DONE") = static_cast<int>(kDone);
  module.attr("SWEEP_TIME_SLICE") = static_cast<int>(kTimeSlice);
  module.attr("SWEEP_STOPPED") = static_cast<int>(kStopped);
  module.attr("SWEEP_SOLVER_GONE") = static_cast<int>(kSolverGone);
}

}  // namespace zdbpy
