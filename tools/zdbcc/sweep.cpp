// zdbcc sweep: solves many scenarios of a model, one after the other, into one table.
#include "chart/durationchart.h"
#include "limitedprocess.h"
#include "modeltext.h"
#include "progress.h"
#include "scenariosolver.h"
#include "solverinfo.h"
#include "sweep/scheduler.h"
#include "sweepoptions.h"
#include "sweepwork.h"
#include "sweepwriter.h"
#include "timinglog.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

/// Has the scenarios solved and their results written.
class Solving {
 public:
  Solving(ScenarioSolver& solver, SweepWriter& writer, const SweepOptions& options,
          Console& console)
      : solver_(solver),
        writer_(writer),
        options_(options),
        workers_(hireWorkers(options, sweepWork(solver))),
        progress_(console, "scenarios") {
    if (!options.timing.empty()) timing_.emplace(options.timing, !options.resumed.empty());
  }

  void run() {
    const std::vector<std::size_t> missing = writer_.missing();
    sweep::Scheduler scheduler({missing.begin(), missing.end()}, *workers_,
                               [&](const sweep::Outcome& outcome) { take(outcome); },
                               {.keepsGoing = options_.keepsGoing});
    const auto ending = scheduler.run([&] { return isInterrupted(); });
    if (ending == sweep::Ending::Interrupted) throw InterruptedError();
  }

 private:
  /// True from the first Ctrl-C on.
  bool isInterrupted() {
    try {
      progress_.update(writer_.count(), writer_.end() - writer_.first());
      return false;
    } catch (const InterruptedError&) {
      return true;
    }
  }

  void take(const sweep::Outcome& outcome) {
    const Scenarios& scenarios = solver_.scenarios();
    const std::string& name = scenarios.name(outcome.task);
    const ScenarioResult result = resultOf(outcome, solver_);
    if (!result.failure.empty() && !options_.keepsGoing) {
      throw ToolError(scenarios.place(outcome.task) + (outcome.endedWorker ? name + ": " : "") +
                      result.failure);
    }
    outcome.task == writer_.next() ? writer_.write(result) : writer_.keep(outcome.task, result);
    if (timing_) timing_->write(name, workers_->name(outcome.worker), outcome);
  }

  ScenarioSolver& solver_;
  SweepWriter& writer_;
  const SweepOptions& options_;
  std::unique_ptr<sweep::Crew> workers_;
  Progress progress_;
  std::optional<TimingLog> timing_;
};

/// What would be done.
void printPlan(ScenarioSolver& solver, const SweepOptions& options, Console& console) {
  const auto line = [&](const char* name, const std::string& text) {
    console.write(reportLine(name, text));
  };
  line("model", options.model.file);
  const std::size_t count = solver.scenarios().count();
  const Part part = readPart(options.part);
  line("scenarios", options.scenarios + ": " + std::to_string(part.end(count) - part.begin(count)) +
                        (part.count == 1 ? "" : " of " + std::to_string(count)));
  for (const std::string& change : solver.changes()) line("changes", change);
  line("solver", solver.solver());
  line("start", options.start == SweepStart::Base ? "base" : "last");
  std::string columns;
  for (const std::string& column : solver.columns())
    columns += (columns.empty() ? "" : ", ") + column;
  line("columns", columns);
  line("results", options.target().empty() ? "standard output" : options.target());
}

/// How many of how many values change, which shows a column that is not what was meant.
void noteChanges(ScenarioSolver& solver, Console& console) {
  for (const std::string& change : solver.changes()) console.note(change);
}

template <typename Work>
auto charting(Work work) {
  try {
    return work();
  } catch (const zdb::chart::ChartError& failure) {
    throw ToolError(std::string("--plot: ") + failure.what());
  }
}

/// Refuses, before any work, a picture that could not be drawn or written.
void checkPlot(const SweepOptions& options) {
  if (options.plot.empty()) return;
  charting(zdb::chart::requireGnuplot);
  const NewFileOutput neverPublished(options.plot);
}

void plot(ScenarioSolver& solver, const SweepWriter& writer, const SweepOptions& options) {
  zdb::chart::DurationChart chart;
  chart.title = options.model.file + ": " + options.scenarios;
  for (std::size_t i = 0; i < writer.count(); ++i) {
    const std::optional<double> objective = writer.objectives()[i];
    const std::string& name = solver.scenarios().name(writer.first() + i);
    if (objective) chart.points.push_back({name, *objective});
  }
  if (chart.points.empty()) throw ToolError("nothing to plot: no scenario has a solution");
  chart.subtitle = counted(chart.points.size(), "scenario");
  const std::size_t without = writer.count() - chart.points.size();
  if (without > 0) chart.subtitle += ", and " + std::to_string(without) + " without a solution";
  chart.base = solver.solveBase().objective;
  NewFileOutput file(options.plot);
  file.write(charting([&] { return drawDurationChart(chart); }));
  file.publish();
}

ExitCode sweep(const SweepOptions& options, Console& console) {
  ScenarioSolver solver(options);
  if (options.isDryRun) {
    printPlan(solver, options, console);
    return ExitCode::Done;
  }
  checkPlot(options);
  SweepWriter writer(options, solver, console);
  noteChanges(solver, console);
  try {
    Solving(solver, writer, options, console).run();
  } catch (const ClosedPipeError&) {
    throw;
  } catch (...) {
    writer.finish();
    throw;
  }
  writer.finish();
  if (!options.plot.empty()) plot(solver, writer, options);
  if (writer.failed() == 0) return ExitCode::Done;
  console.note(std::to_string(writer.failed()) + " of " + counted(writer.count(), "scenario") +
               " failed");
  return ExitCode::SomeFailed;
}

ExitCode runSweep(const SweepOptions& options, Console& console) {
  options.limits.check();
  options.direction.check();
  requireOneStandardInput({options.scenarios, options.model.file, options.model.data});
  if (!options.solver.empty()) usableSolver(options.solver);
  readPart(options.part);
  checkOutputsOf(options);
  checkForWorkers(options);
  return withMemoryLimit(options.limits.megabytes, [&] { return sweep(options, console); });
}

std::vector<Option> sweepOptions() {
  std::vector<Option> options = {
      {.name = "scenarios",
       .value = "FILE",
       .kind = Kind::File,
       .text = "CSV file, or `-`, with the scenarios",
       .target = into(&SweepOptions::scenarios),
       .isRequired = true},
      {.name = "show",
       .value = "ENTRY",
       .text = "Variable or equation entry whose level becomes a column, or a whole symbol",
       .details = "`buy[bread]` is a column. `buy` and `ship[*,Boston]` are many entries, which go "
                  "to the file of `--long`. An exchange file gets all of them as symbols.",
       .target = into(&SweepOptions::shown)},
      {.name = "long",
       .value = "FILE",
       .kind = Kind::File,
       .text = "CSV file for whole symbols: a row for each scenario and record",
       .details = "Its columns: scenario, symbol, label1, label2 and so on, level, marginal, lower "
                  "and upper.",
       .target = into(&SweepOptions::records)},
      {.name = "output",
       .letter = 'o',
       .value = "FILE",
       .kind = Kind::File,
       .text = "File for the results: CSV, or an exchange file if its name ends in `.zxf`",
       .details = "An exchange file has the set `scenario` with statuses as texts, `objective` and "
                  "`iterations`, and the shown symbols with the scenario as first label.",
       .target = into(&SweepOptions::output)},
      {.name = "plot",
       .value = "FILE",
       .kind = Kind::File,
       .text = "Picture of the objectives, as SVG: duration curve and histogram",
       .details =
           "The duration curve has the largest objective first, over the share of scenarios "
           "that reach it. Objectives of the model itself, of both extremes and of the median "
           "are marked. Drawn by gnuplot, which must be installed.",
       .target = into(&SweepOptions::plot)},
      {.name = "resume",
       .value = "FILE",
       .kind = Kind::File,
       .text = "Results to go on with, or to begin if they are not there",
       .details = "Rows that are there are kept, also if the sweep was killed; so are results that "
                  "Ctrl-C found ahead of a missing one, in `FILE.ahead`. Refused if model, "
                  "data, scenarios, options or version are not those with which they were begun, "
                  "as recorded in `FILE.sweep`.",
       .target = into(&SweepOptions::resumed)},
      {.name = "force",
       .text = "Write over files that are there",
       .target = into(&SweepOptions::force)},
      {.name = "keep-going",
       .text = "Go on after a scenario that cannot be solved",
       .details = "It has the status `Failed`, and why in the column `reason`. Without this, the "
                  "sweep ends there, and keeps the rows before it.",
       .target = into(&SweepOptions::keepsGoing)},
      {.name = "dry-run",
       .text = "Check everything and print what would be done",
       .target = into(&SweepOptions::isDryRun)},
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
       .details = "The rows stand in the order of the scenarios, and with `--start base` they are "
                  "the same, byte for byte, with any number. Scenarios whose worker ends are "
                  "solved again by another one, then singly; one that ends its worker also then "
                  "has failed.",
       .target = into(&SweepOptions::jobs)},
      {.name = "part",
       .value = "K/N",
       .text = "Solve only part K of N of the scenarios, such as 3/16",
       .details = "`zdbcc join` puts the results of all parts together: for batch systems.",
       .target = into(&SweepOptions::part)},
      {.name = "timing",
       .value = "FILE",
       .kind = Kind::File,
       .text = "CSV file with the worker that solved each scenario, and how long it took",
       .details = "Its columns: scenario, worker, seconds, and tries, which are more than 1 after "
                  "a worker has ended.",
       .target = into(&SweepOptions::timing)},
      solverOption(&SweepOptions::solver)};
  for (Option& option : limitOptions(&SweepOptions::limits)) options.push_back(std::move(option));
  for (Option& option : directionOptions(&SweepOptions::direction)) {
    options.push_back(std::move(option));
  }
  options.insert(options.end(), {{.name = "relax",
                                  .text = "Treat integer columns as continuous",
                                  .target = into(&SweepOptions::relaxes)},
                                 jsonOption(&SweepOptions::json)});
  return withModelOptions(&SweepOptions::model, std::move(options));
}

}  // namespace

Verb sweepVerb() {
  static const std::string details =
      R"(The first column of the table has the names of the scenarios, the heading of every other
column names what changes, and an empty field means the model's own value:

    scenario,price[bread],price[milk],need[iron].rhs
    dear bread,3.5,,
    dear milk,,2.2,12

)" + std::string(kChangeNames) +
      R"( In a table, each column is one entry.

Commas, semicolons and tabs separate fields, as the heading shows. All is checked before the first
solve, and nothing is written if something is wrong.

The results are CSV: name of the scenario, status, objective, number of iterations, and what is
shown. Each row is written when it is known. A scenario without a solution has its status and empty
fields; one that cannot be solved at all, for example because the solver fails, ends the results
with a message that names its row.)";
  return {
      .name = "sweep",
      .summary = "Solves a model once for each scenario of a table",
      .details = details.c_str(),
      .operands = {modelOperand(&SweepOptions::model)},
      .options = sweepOptions(),
      .examples = {{"zdbcc sweep diet.mod --scenarios days.csv --show 'buy[bread]' > results.csv",
                    "Costs and an amount for each row of the table"},
                   {"zdbcc sweep plan.mps --scenarios s.csv --resume results.csv --keep-going",
                    "Many scenarios, also after a break"},
                   {"zdbcc sweep plan.mps --scenarios s.csv --show ship -o results.zxf",
                    "All of a variable, with the scenario as first label"}},
      .exitCodes = {{ExitCode::Done, "All scenarios were solved, or found to have no solution."},
                    {ExitCode::Failed, "Something is wrong or failed; rows before it are kept."},
                    {ExitCode::WrongUse, "The command line is wrong; nothing was done."},
                    {ExitCode::SomeFailed, "All were tried, and some failed (`--keep-going`)."},
                    {ExitCode::Interrupted, "Ctrl-C; rows of solved scenarios are kept."}},
      .action = runs(runSweep)};
}

}  // namespace zdb::tool
