#include "bare.h"

#include <dlfcn.h>

#include <limits>
#include <vector>

#ifdef BENCH_WITH_CLP
#include <ClpFactorization.hpp>
#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#endif

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The bounds of rows and columns.
struct Bounds {
  explicit Bounds(const BroadModel& model)
      : lower(model.cost.size(), 0.0),
        upper(model.cost.size(), 1.0),
        rowLower(BroadModel::kLimits, -kInfinity),
        rowUpper(BroadModel::kLimits, model.limit) {}
  std::vector<double> lower;
  std::vector<double> upper;
  std::vector<double> rowLower;
  std::vector<double> rowUpper;
};

#ifdef BENCH_WITH_CLP
class BareClp : public BareSolver {
 public:
  explicit BareClp(const BroadModel& model) {
    const Bounds bounds(model);
    simplex_.setLogLevel(0);
    simplex_.factorization()->setPersistenceFlag(1);
    simplex_.loadProblem(static_cast<int>(model.cost.size()), BroadModel::kLimits,
                         model.starts.data(), model.rows.data(), model.values.data(),
                         bounds.lower.data(), bounds.upper.data(), model.cost.data(),
                         bounds.rowLower.data(), bounds.rowUpper.data());
    ClpSolve how;
    how.setPresolveType(ClpSolve::presolveOn);
    simplex_.initialSolve(how);
  }
  double solveWith(double cost) override {
    simplex_.setObjectiveCoefficient(0, cost);
    simplex_.primal();
    require(simplex_.isProvenOptimal(), "optimal without the kit");
    return simplex_.objectiveValue();
  }

 private:
  ClpSimplex simplex_;
};
#endif

/// Through the library that the kit has opened.
class BareHighs : public BareSolver {
 public:
  BareHighs(void* library, const BroadModel& model)
      : changeCost_(take<int(void*, int, double)>(library, "Highs_changeColCost")),
        run_(take<int(void*)>(library, "Highs_run")),
        objective_(take<double(const void*)>(library, "Highs_getObjectiveValue")),
        destroy_(take<void(void*)>(library, "Highs_destroy")),
        highs_(take<void*()>(library, "Highs_create")()) {
    const auto setBool = take<int(void*, const char*, int)>(library, "Highs_setBoolOptionValue");
    const auto setInt = take<int(void*, const char*, int)>(library, "Highs_setIntOptionValue");
    const auto setText =
        take<int(void*, const char*, const char*)>(library, "Highs_setStringOptionValue");
    const auto pass = take<int(void*, int, int, int, int, int, double, const double*, const double*,
                               const double*, const double*, const double*, const int*, const int*,
                               const double*)>(library, "Highs_passLp");
    constexpr int byColumn = 1;
    constexpr int minimize = 1;
    constexpr int primal = 4;
    const Bounds bounds(model);
    setBool(highs_, "output_flag", 0);
    setInt(highs_, "threads", 1);
    setText(highs_, "parallel", "off");
    setText(highs_, "solver", "simplex");
    pass(highs_, static_cast<int>(model.cost.size()), BroadModel::kLimits,
         static_cast<int>(model.rows.size()), byColumn, minimize, 0.0, model.cost.data(),
         bounds.lower.data(), bounds.upper.data(), bounds.rowLower.data(), bounds.rowUpper.data(),
         model.starts.data(), model.rows.data(), model.values.data());
    run_(highs_);
    setInt(highs_, "simplex_strategy", primal);
  }
  ~BareHighs() override { destroy_(highs_); }

  double solveWith(double cost) override {
    changeCost_(highs_, 0, cost);
    run_(highs_);
    return objective_(highs_);
  }

 private:
  template <typename Function>
  static Function* take(void* library, const char* name) {
    void* found = dlsym(library, name);
    require(found != nullptr, name);
    return reinterpret_cast<Function*>(found);
  }

  int (*changeCost_)(void*, int, double);
  int (*run_)(void*);
  double (*objective_)(const void*);
  void (*destroy_)(void*);
  void* highs_;
};

}  // namespace

std::unique_ptr<BareSolver> makeBare(const std::string& solver, const BroadModel& model) {
#ifdef BENCH_WITH_CLP
  if (solver == "clp") return std::make_unique<BareClp>(model);
#endif
  for (const char* name : {"libhighs.so", "libhighs.so.1"}) {
    void* library = solver == "highs" ? dlopen(name, RTLD_NOW | RTLD_NOLOAD) : nullptr;
    if (library != nullptr) return std::make_unique<BareHighs>(library, model);
  }
  return nullptr;
}
