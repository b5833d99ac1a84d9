#include "sweepwork.h"

#include <sched.h>

#include <algorithm>

#include "contract/packing.h"

namespace zdb::tool {

namespace {

template <class Wire, class Result>
void visit(Wire& wire, Result& result, double& objective, bool& hasObjective) {
  wire.text(result.row);
  wire.text(result.records);
  wire.text(result.failure);
  wire.number(hasObjective);
  wire.number(objective);
}

}  // namespace

std::string packed(const ScenarioResult& result) {
  contract::Packer wire;
  double objective = result.objective.value_or(0);
  bool hasObjective = result.objective.has_value();
  visit(wire, result, objective, hasObjective);
  return wire.take();
}

ScenarioResult unpackedResult(std::string_view bytes) {
  contract::Unpacker wire(bytes);
  ScenarioResult result;
  double objective = 0;
  bool hasObjective = false;
  visit(wire, result, objective, hasObjective);
  if (hasObjective) result.objective = objective;
  return result;
}

sweep::Work sweepWork(ScenarioSolver& solver) {
  return [&solver](sweep::Task scenario) -> sweep::Answer {
    const ScenarioResult result = solver.solve(scenario);
    return {.isFailed = !result.failure.empty(), .content = packed(result)};
  };
}

ScenarioResult resultOf(const sweep::Outcome& outcome, ScenarioSolver& solver) {
  if (outcome.endedWorker) return solver.failedResult(outcome.task, outcome.content);
  return unpackedResult(outcome.content);
}

unsigned workerCount(const SweepOptions& options) {
  if (options.jobs > 0) return options.jobs;
  cpu_set_t cores;
  if (sched_getaffinity(0, sizeof cores, &cores) != 0) return 1;
  return static_cast<unsigned>(std::max(1, CPU_COUNT(&cores)));
}

}  // namespace zdb::tool
