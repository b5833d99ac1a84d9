#include "sweepwork.h"

#include <sched.h>

#include <algorithm>

#include "contract/packing.h"

namespace zdb::tool {

namespace {

template <class Wire, class Result>
void visit(Wire& wire, Result& result, double& objective, bool& isSolved) {
  wire.text(result.row);
  wire.number(isSolved);
  wire.number(objective);
}

std::string packed(const ScenarioResult& result) {
  contract::Packer wire;
  double objective = result.objective.value_or(0);
  bool isSolved = result.objective.has_value();
  visit(wire, result, objective, isSolved);
  return wire.take();
}

}  // namespace

sweep::Work sweepWork(ScenarioSolver& solver) {
  return [&solver](sweep::Task scenario) -> sweep::Answer {
    ScenarioResult result = solver.solve(scenario);
    if (!result.failure.empty()) return {.isFailed = true, .content = std::move(result.failure)};
    return {.content = packed(result)};
  };
}

ScenarioResult resultOf(const sweep::Outcome& outcome) {
  ScenarioResult result;
  if (outcome.isFailed) {
    result.failure = outcome.content;
    return result;
  }
  contract::Unpacker wire(outcome.content);
  double objective = 0;
  bool isSolved = false;
  visit(wire, result, objective, isSolved);
  if (isSolved) result.objective = objective;
  return result;
}

unsigned workerCount(const SweepOptions& options) {
  if (options.jobs > 0) return options.jobs;
  cpu_set_t cores;
  if (sched_getaffinity(0, sizeof cores, &cores) != 0) return 1;
  return static_cast<unsigned>(std::max(1, CPU_COUNT(&cores)));
}

}  // namespace zdb::tool
