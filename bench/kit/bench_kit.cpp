// Scenarios: changing data through the database and solving in place, compared with rebuilding the
// model or solving it from scratch. Counters: simplex iterations per solve, and the share of the
// time that is spent in the database and not in the solver (changing records, updating the
// instance, calling, reading the objective).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "bare.h"
#include "modeldatabase.h"
#include "models.h"
#include "zkitdclib.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kScenarios = 1000;
constexpr double kPriceSpread = 0.3;
constexpr double kNeedSpread = 0.2;

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Takes the times of the solves and of what is around them, by medians: other programs disturb few
/// of them.
class Tally {
 public:
  explicit Tally(benchmark::State& state) : state_(state), last_(Clock::now()) {}

  void add(const KitInstance& instance) {
    const Clock::time_point now = Clock::now();
    const double seconds = zkitSeconds(instance.get());
    solving_.push_back(seconds);
    outside_.push_back(std::chrono::duration<double>(now - last_).count() - seconds);
    iterations_ += zkitIterations(instance.get());
    last_ = Clock::now();
  }
  void report() const {
    const auto solves = static_cast<std::int64_t>(solving_.size());
    const double outside = median(outside_);
    state_.SetItemsProcessed(solves);
    state_.counters["simplex/solve"] =
        static_cast<double>(iterations_) / static_cast<double>(solves);
    state_.counters["outside_%"] = 100 * outside / (outside + median(solving_));
  }

 private:
  benchmark::State& state_;
  Clock::time_point last_;
  std::vector<double> solving_;
  std::vector<double> outside_;
  std::int64_t iterations_ = 0;
};

std::vector<std::vector<double>> priceScenarios() {
  std::vector<std::vector<double>> all;
  all.reserve(kScenarios);
  for (int k = 0; k < kScenarios; ++k) all.push_back(scenario(basePrices(), kPriceSpread, k));
  return all;
}

void requireSame(double a, double b) {
  require(std::abs(a - b) <= 1e-7 * std::max(1.0, std::abs(a)), "the same objective both ways");
}

/// Whether a solver can be used here; a benchmark without it says so.
bool isThere(const std::string& solver, benchmark::State& state) {
  for (int k = 0; k < zkitSolverCount(); ++k) {
    const char* name = nullptr;
    const char* whyNot = nullptr;
    zkitSolverInfo(k, &name, nullptr, nullptr, nullptr, &whyNot);
    if (solver != name || *whyNot == '\0') continue;
    state.SkipWithError(whyNot);
    return false;
  }
  return true;
}

void dietHot(benchmark::State& state, const char* solver) {
  if (!isThere(solver, state)) return;
  const std::vector<std::vector<double>> prices = priceScenarios();
  const KitInstance instance(makeDiet(basePrices()));
  ModelDatabase db(instance.get(), "price", kFoods);
  std::size_t k = 0;
  const auto run = [&] {
    db.set(prices[k]);
    db.update();
    db.solve(solver);
    return db.level("cost");
  };
  for (k = 0; k < 20; ++k) {
    const KitInstance rebuilt(makeDiet(prices[k]));
    rebuilt.solve(solver);
    requireSame(run(), zkitObjective(rebuilt.get()));
  }
  Tally tally(state);
  for ([[maybe_unused]] const auto step : state) {
    k = (k + 1) % kScenarios;
    benchmark::DoNotOptimize(run());
    instance.requireOptimal();
    tally.add(instance);
  }
  tally.report();
}

void dietRebuilt(benchmark::State& state, const char* solver) {
  if (!isThere(solver, state)) return;
  const std::vector<std::vector<double>> prices = priceScenarios();
  std::size_t k = 0;
  Tally tally(state);
  for ([[maybe_unused]] const auto step : state) {
    k = (k + 1) % kScenarios;
    const KitInstance instance(makeDiet(prices[k]));
    instance.solve(solver);
    tally.add(instance);
  }
  tally.report();
}

BENCHMARK_CAPTURE(dietHot, clp, "clp")
    ->Name("diet_clp/hot")
    ->MinTime(0.3)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(dietRebuilt, clp, "clp")
    ->Name("diet_clp/rebuilt")
    ->MinTime(0.3)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(dietHot, glpk, "glpk")
    ->Name("diet_glpk/hot")
    ->MinTime(0.3)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(dietRebuilt, glpk, "glpk")
    ->Name("diet_glpk/rebuilt")
    ->MinTime(0.3)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

BENCHMARK_CAPTURE(dietHot, highs, "highs")
    ->Name("diet_highs/hot")
    ->MinTime(0.3)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(dietRebuilt, highs, "highs")
    ->Name("diet_highs/rebuilt")
    ->MinTime(0.3)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

/// In each scenario, one in ten of the needs differs from the base values.
void transportHot(benchmark::State& state, const char* solver) {
  if (!isThere(solver, state)) return;
  const KitInstance instance(makeTransport(baseNeeds()));
  ModelDatabase db(instance.get(), "need", kDemands);
  int k = 0;
  const auto run = [&] {
    db.set(sparseScenario(baseNeeds(), kNeedSpread, ++k));
    db.update();
    db.solve(solver);
    return db.level("cost");
  };
  const double first = run();
  const KitInstance rebuilt(makeTransport(sparseScenario(baseNeeds(), kNeedSpread, k)));
  rebuilt.solve(solver);
  requireSame(first, zkitObjective(rebuilt.get()));
  Tally tally(state);
  for ([[maybe_unused]] const auto step : state) {
    benchmark::DoNotOptimize(run());
    instance.requireOptimal();
    tally.add(instance);
  }
  tally.report();
}

/// The instance is changed as above, but solved from scratch.
void transportPlain(benchmark::State& state, const char* solver) {
  if (!isThere(solver, state)) return;
  const KitInstance instance(makeTransport(baseNeeds()));
  ModelDatabase db(instance.get(), "need", kDemands);
  int k = 0;
  Tally tally(state);
  for ([[maybe_unused]] const auto step : state) {
    db.set(sparseScenario(baseNeeds(), kNeedSpread, ++k));
    db.update();
    instance.solve(solver);
    tally.add(instance);
  }
  tally.report();
}

BENCHMARK_CAPTURE(transportHot, clp, "clp")
    ->Name("transport_clp/hot")
    ->Iterations(10)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transportPlain, clp, "clp")
    ->Name("transport_clp/plain")
    ->Iterations(3)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transportHot, glpk, "glpk")
    ->Name("transport_glpk/hot")
    ->Iterations(10)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transportPlain, glpk, "glpk")
    ->Name("transport_glpk/plain")
    ->Iterations(3)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(transportHot, highs, "highs")
    ->Name("transport_highs/hot")
    ->Iterations(10)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transportPlain, highs, "highs")
    ->Name("transport_highs/plain")
    ->Iterations(3)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

constexpr int kWide = 100000;

/// Of the processor, so that it is little disturbed by other programs.
template <typename Work>
double secondsOf(Work work) {
  const auto now = [] {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  };
  const double start = now();
  work();
  return now() - start;
}

/// One cost changes in each scenario, of a column that stays as it is: next to no simplex. By turns
/// with the solver alone; `ours_us` is what the database and the kit take beside it, by medians.
void oneCost(benchmark::State& state, const char* solver) {
  if (!isThere(solver, state)) return;
  const BroadModel model(kWide);
  const std::unique_ptr<BareSolver> bare = makeBare(solver, model);
  if (bare == nullptr) return state.SkipWithError("this benchmark was built without the solver");
  const KitInstance instance(makeBroad(model));
  ModelDatabase db(instance.get(), "fee", 1);
  db.solve(solver);
  std::vector<double> ours;
  std::vector<double> alone;
  double fee = 1;
  for ([[maybe_unused]] const auto step : state) {
    fee += 0.001;
    double objective = 0;
    double bareObjective = 0;
    ours.push_back(secondsOf([&] {
      db.set({fee});
      db.update();
      db.solve(solver);
      objective = db.level("cost");
    }));
    alone.push_back(secondsOf([&] { bareObjective = bare->solveWith(fee); }));
    instance.requireOptimal();
    requireSame(objective, bareObjective);
    state.SetIterationTime(ours.back());
  }
  state.counters["alone_ms"] = 1e3 * median(alone);
  state.counters["ours_us"] = 1e6 * (median(ours) - median(alone));
}

BENCHMARK_CAPTURE(oneCost, clp, "clp")
    ->Name("one_cost_clp/hot")
    ->Iterations(200)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(oneCost, highs, "highs")
    ->Name("one_cost_highs/hot")
    ->Iterations(200)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// Writing the entries of a parameter to the instance.
void updateSymbol(benchmark::State& state) {
  const KitInstance instance(makeWide(kWide));
  ModelDatabase db(instance.get(), "weight", kWide);
  db.set(std::vector<double>(kWide, 2.0));
  for ([[maybe_unused]] const auto step : state) db.update();
  state.SetItemsProcessed(state.iterations() * kWide);
}

/// Reading the records of a variable from the instance after a solve.
void reloadSolution(benchmark::State& state) {
  const KitInstance instance(makeWide(kWide));
  ModelDatabase db(instance.get(), "weight", kWide);
  for ([[maybe_unused]] const auto step : state) {
    state.PauseTiming();
    db.solve("clp");
    state.ResumeTiming();
    require(db.count("x") == kWide, "all columns");
  }
  state.SetItemsProcessed(state.iterations() * kWide);
}

BENCHMARK(updateSymbol)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(reloadSolution)->Iterations(20)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
