// zdbcc solve: solves a model file, with changed data if given, and writes the solution.
#include "changes.h"
#include "interrupt.h"
#include "limitedprocess.h"
#include "model.h"
#include "outputfile.h"
#include "solution.h"
#include "solvelimits.h"
#include "solvereport.h"
#include "verbs.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

struct SolveOptions {
  ModelSource model;
  std::string dataFile;
  std::vector<std::string> sets;
  std::vector<std::string> shown;
  std::string solver;
  SolveLimits limits;
  bool relaxes = false;
  bool logs = false;
  std::string output;
  bool force = false;
  bool json = false;

  bool writesToOutput() const { return output == "-"; }
  bool writesTable() const { return writesToOutput() || output.ends_with(".csv"); }
};

void check(const SolveOptions& options) {
  options.limits.check();
  if (!options.writesToOutput()) return;
  const char* other = options.json ? "--json" : options.shown.empty() ? nullptr : "--show";
  if (other == nullptr) return;
  throw WrongUseError(std::string(other) + " and --output - both write to standard output");
}

/// Refuses to write over what was not meant, and finds out whether the file can be written at all.
void checkOutputOf(const SolveOptions& options) {
  if (options.output.empty() || options.writesToOutput()) return;
  if (!options.force) {
    std::vector<std::string> inputs = {options.model.file, options.model.data, options.dataFile};
    for (const std::string& set : options.sets) inputs.push_back(set.substr(set.find('=') + 1));
    const Replaceable table = {"a table of a solution", isSolutionTable};
    checkOutput(options.output, inputs, options.writesTable() ? table : Replaceable());
  }
  const NewFileOutput neverPublished(options.output);
}

void writeOutput(const Model& model, const SolveOptions& options, Console& console) {
  if (options.writesToOutput()) return writeSolutionTable(model.database(), console);
  if (!options.writesTable()) return model.database().write(options.output, false);
  NewFileOutput table(options.output);
  writeSolutionTable(model.database(), table);
  table.publish();
}

/// What a solver says goes to standard error, as it says it.
void logLine(const char* text, void* console) {
  static_cast<Console*>(console)->log(text);
}

void report(const Model& model, const std::vector<Shown>& shown, const SolveOptions& options,
            Console& console) {
  const SolveReport report(model);
  if (options.writesToOutput()) return console.note(report.summary());
  if (options.json) return report.writeJson(shown, console);
  report.print(console);
  for (const Shown& each : shown) {
    console.write("\n");
    printShown(each, model.database(), console);
  }
}

ExitCode solve(const SolveOptions& options, Console& console) {
  Model model(options.model);
  if (options.relaxes) zkitSetModelType(model.instance(), ZKIT_RMIP);
  if (options.logs) zkitSetLog(model.instance(), logLine, &console);
  options.limits.apply(model.instance());
  if (!options.dataFile.empty()) takeDataFile(model, options.dataFile, console);
  for (const std::string& set : options.sets) takeCsv(model, set, console);
  std::vector<Shown> shown;
  for (const std::string& text : options.shown) shown.push_back(readShown(model.database(), text));
  const Interrupt interrupt(model.instance());
  model.solve(options.solver);
  report(model, shown, options, console);
  if (model.hasSolution() && !options.output.empty()) writeOutput(model, options, console);
  console.flush();
  if (Interrupt::isRequested()) throw InterruptedError();
  if (model.isSolved()) return ExitCode::Done;
  throw ToolError("no optimal solution: " +
                  std::string(zkitModelStatusText(zkitModelStatus(model.instance()))));
}

ExitCode runSolve(const SolveOptions& options, Console& console) {
  check(options);
  checkOutputOf(options);
  return withMemoryLimit(options.limits.megabytes, [&] { return solve(options, console); });
}

std::vector<Option> solveOptions() {
  std::vector<Option> options = {
      {.name = "data",
       .value = "FILE",
       .kind = Kind::File,
       .text = "Exchange file with values of updatable parameters",
       .target = into(&SolveOptions::dataFile)},
      {.name = "set",
       .value = "SYMBOL=FILE",
       .text = "CSV file, or `-`, with values of an updatable parameter",
       .details = "Each row has the labels, then the value. A first row that does not end in a "
                  "number and is not an entry of the model is a heading (for a scalar, a "
                  "first row that is followed by another), so the output of `zdbcc dump` can "
                  "be read. Entries without a row keep their values; the number of records "
                  "without an entry in the model is printed on standard error.",
       .target = into(&SolveOptions::sets)},
      {.name = "show",
       .value = "SYMBOL",
       .text = "Variable or equation, or some of its entries, to be shown",
       .details = "With labels, level and marginal; entries as in `buy[bread]` or "
                  "`ship['New York',*]`.",
       .target = into(&SolveOptions::shown)},
      solverOption(&SolveOptions::solver)};
  for (Option& option : limitOptions(&SolveOptions::limits)) options.push_back(std::move(option));
  options.insert(
      options.end(),
      {{.name = "relax",
        .text = "Treat integer columns as continuous",
        .target = into(&SolveOptions::relaxes)},
       {.name = "log",
        .text = "Write what the solver says to standard error",
        .target = into(&SolveOptions::logs)},
       {.name = "output",
        .letter = 'o',
        .value = "FILE",
        .kind = Kind::File,
        .text = "Exchange file or CSV file to write the solution to, or `-`",
        .details = "An exchange file has variables and equations with level, marginal and "
                   "bounds, and the parameters that were changed. A name that ends in `.csv`, "
                   "or `-` for standard output, gets one table of all variables and equations: "
                   "symbol, label1, label2 and so on, level, marginal, lower and upper. Without "
                   "a solution, nothing is written.",
        .target = into(&SolveOptions::output)},
       {.name = "force",
        .text = "Write over an input, or over a file that is not such a file",
        .target = into(&SolveOptions::force)},
       jsonOption(&SolveOptions::json)});
  return withModelOptions(&SolveOptions::model, std::move(options));
}

}  // namespace

Verb solveVerb() {
  return {.name = "solve",
          .summary = "Solves a model file, with changed data if given",
          .details = R"(Prints the size of the model, the status, the objective and the number of
iterations.

A parameter `p` is updatable if the model has a variable `p_var`.

Ctrl-C stops the search; the best solution that was found is printed and written. A second one ends
the program at once.)",
          .operands = {modelOperand(&SolveOptions::model)},
          .options = solveOptions(),
          .examples = {{"zdbcc solve diet.mod --set price=prices.csv -o solution.zxf",
                        "With new prices, into a file"},
                       {"zdbcc solve diet.mod --show buy --show 'energy'",
                        "With what is bought, and what energy costs"},
                       {"zdbcc solve plan.mps --solver glpk --time-limit 60 --gap 0.01 -o plan.csv",
                        "With another solver, for a minute at most"}},
          .exitCodes = {{ExitCode::Done,
                         "The solution is optimal, even if there were records without an entry."},
                        {ExitCode::Failed,
                         "There is no solution that is known to be optimal, or something failed. "
                         "What was found within the limits is printed and written."},
                        {ExitCode::WrongUse, "The command line is wrong; nothing was done."},
                        {ExitCode::Interrupted,
                         "Stopped by Ctrl-C. What was found is printed and written."}},
          .action = runs(runSolve)};
}

}  // namespace zdb::tool
