// zdbcc sweep: solves many scenarios of a model, one after the other, into one table.
#include <numeric>

#include "progress.h"
#include "scenariosolver.h"
#include "sweep/scheduler.h"
#include "sweepwork.h"
#include "sweepwriter.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

/// True from the first Ctrl-C on.
bool isInterrupted(Progress& progress, std::size_t done, std::size_t total) {
  try {
    progress.update(done, total);
    return false;
  } catch (const InterruptedError&) {
    return true;
  }
}

void solveAll(const SweepOptions& options, ScenarioSolver& solver, SweepWriter& writer,
              Console& console) {
  std::vector<sweep::Task> tasks(solver.scenarios().count());
  std::iota(tasks.begin(), tasks.end(), 0);
  const auto workers = hireWorkers(options, sweepWork(solver));
  Progress progress(console, "scenarios");
  std::size_t done = 0;
  const auto take = [&](const sweep::Outcome& outcome) {
    const ScenarioResult result = resultOf(outcome);
    if (!result.failure.empty()) {
      const std::string who =
          outcome.endedWorker ? solver.scenarios().name(outcome.task) + ": " : std::string();
      throw ToolError(solver.scenarios().place(outcome.task) + who + result.failure);
    }
    writer.write(result);
    ++done;
  };
  sweep::Scheduler scheduler(tasks, *workers, take, {});
  const auto stops = [&] { return isInterrupted(progress, done, tasks.size()); };
  if (scheduler.run(stops) == sweep::Ending::Interrupted) throw InterruptedError();
}

void runSweep(const SweepOptions& options, Console& console) {
  ScenarioSolver solver(options);
  SweepWriter writer(options, solver.columns(), console);
  try {
    solveAll(options, solver, writer, console);
  } catch (const ClosedPipeError&) {
    throw;
  } catch (...) {
    writer.finish();
    throw;
  }
  writer.finish();
}

}  // namespace

Verb sweepVerb() {
  return {
      .name = "sweep",
      .summary = "Solves a model once for each scenario of a table",
      .details = R"(Each solve starts where the last one ended. The results go to standard output as
CSV: name of the scenario, status, objective and number of iterations. The first column of the table
has the names of the scenarios, the heading of every other column is an entry of an updatable
parameter, and an empty field means the model's own value:

    scenario,price[bread],price[milk]
    dear bread,3.5,
    dear milk,,2.2

A scenario without an optimal solution has its status and empty fields; one that cannot be solved at
all, for example because a price is infinite, ends the results with a message that names its row.)",
      .operands = {modelOperand(&SweepOptions::model)},
      .options = withModelOptions(
          &SweepOptions::model,
          {{.name = "scenarios",
            .value = "FILE",
            .kind = Kind::File,
            .text = "CSV file, or `-`, with the scenarios",
            .target = into(&SweepOptions::scenarios),
            .isRequired = true},
           {.name = "show",
            .value = "ENTRY",
            .text = "Variable or equation entry whose level becomes a column",
            .target = into(&SweepOptions::shown)},
           solverOption(&SweepOptions::solver),
           {.name = "start",
            .value = "WHERE",
            .kind = Kind::Choice,
            .text = "Where the solve of a scenario starts",
            .details = "`base`: at the basis of the model itself, so that no result depends on the "
                       "other scenarios or their order. `last`: at that of the scenario before, "
                       "which may be faster; where several solutions are optimal, another order "
                       "may give another one of them.",
            .target = into(&SweepOptions::start, {"base", "last"})},
           {.name = "jobs",
            .letter = 'j',
            .value = "N",
            .kind = Kind::Number,
            .text = "Number of worker processes; 0 for one a core",
            .details = "The rows stand in the order of the scenarios, and with `--start base` they "
                       "are the same, byte for byte, with any number. Scenarios whose worker ends "
                       "are solved again by another one, then singly; one that ends its worker "
                       "also then has failed.",
            .target = into(&SweepOptions::jobs)},
           jsonOption(&SweepOptions::json)}),
      .examples = {{"zdbcc sweep diet.mod --scenarios prices.csv --show 'buy[bread]' > results.csv",
                    "Costs and an amount for each row of prices"}},
      .action = runs(runSweep)};
}

}  // namespace zdb::tool
