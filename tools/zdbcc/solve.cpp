// zdbcc solve: solves a model file, with changed data if given, and writes the solution.
#include <algorithm>

#include "changes.h"
#include "direction.h"
#include "infeasible.h"
#include "interrupt.h"
#include "limitedprocess.h"
#include "model.h"
#include "modeltext.h"
#include "outputfile.h"
#include "solution.h"
#include "solvelimits.h"
#include "solvereport.h"
#include "solverinfo.h"
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
  Direction direction;
  bool relaxes = false;
  bool explains = true;
  bool logs = false;
  std::string output;
  bool force = false;
  bool json = false;

  bool writesToOutput() const { return output == "-"; }
  bool writesTable() const { return writesToOutput() || output.ends_with(".csv"); }
};

/// Why a model is infeasible is a question of seconds.
constexpr double kLongestExplanation = 10;

std::vector<std::string> inputsOf(const SolveOptions& options) {
  std::vector<std::string> inputs = {options.model.file, options.model.data, options.dataFile};
  for (const std::string& set : options.sets) inputs.push_back(fileOfChange(set));
  return inputs;
}

void check(const SolveOptions& options) {
  options.limits.check();
  requireOneStandardInput(inputsOf(options));
  options.direction.check();
  if (!options.writesToOutput()) return;
  const char* other = options.json ? "--json" : options.shown.empty() ? nullptr : "--show";
  if (other == nullptr) return;
  throw WrongUseError(std::string(other) + " and --output - both write to standard output");
}

/// Refuses to write over what was not meant, and finds out whether the file can be written at all.
void checkOutputOf(const SolveOptions& options) {
  if (options.output.empty() || options.writesToOutput()) return;
  if (!options.force) {
    const Replaceable table = {"a table of a solution", isSolutionTable};
    checkOutput(options.output, inputsOf(options), options.writesTable() ? table : Replaceable());
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

bool isInfeasible(const Model& model) {
  const int status = zkitModelStatus(model.instance());
  return status == ZKIT_INFEASIBLE || status == ZKIT_INTEGER_INFEASIBLE ||
         status == ZKIT_NO_SOLUTION_RETURNED;
}

/// A solve, from the changes of the model to its solution.
class SolveRun {
 public:
  SolveRun(const SolveOptions& options, Console& console)
      : options_(options),
        console_(console),
        source_(withTexts(options.model)),
        changes_(options.sets, options.dataFile, source_),
        changing_(source_, changes_.names(), {changes_.scenario()}, UnknownEntries::Count,
                  [this](Model& model) { prepare(model); }),
        model_(changing_.apply(0)) {}

  ExitCode run() {
    changes_.check(changing_, console_);
    for (const std::string& text : options_.shown) {
      shown_.push_back(readShown(model_.database(), text));
    }
    requireSolver(options_.solver, !options_.relaxes && zkitIntegerColumns(model_.instance()) > 0);
    const Interrupt interrupt(model_.instance());
    model_.solve(options_.solver);
    if (options_.explains && isInfeasible(model_)) explain();
    finish();
    if (Interrupt::isRequested()) throw InterruptedError();
    if (model_.isSolved()) return ExitCode::Done;
    failUnsolved();
  }

 private:
  void prepare(Model& model) {
    void* instance = model.instance();
    if (options_.relaxes) zkitSetModelType(instance, ZKIT_RMIP);
    options_.direction.apply(model);
    if (options_.logs) zkitSetLog(instance, logLine, &console_);
    options_.limits.apply(instance);
    changes_.takeUpdatable(model, console_);
  }

  [[noreturn]] void failUnsolved() const {
    void* instance = model_.instance();
    std::string text = "no optimal solution: ";
    text += zkitModelStatusText(zkitModelStatus(instance));
    const int end = zkitSolveStatus(instance);
    if (end != ZKIT_COMPLETED) text.append(" (").append(zkitSolveStatusText(end)).append(")");
    throw ToolError(text);
  }

  void explain() {
    const double seconds = options_.limits.seconds.value_or(kLongestExplanation);
    infeasible_.emplace(model_, std::min(seconds, kLongestExplanation));
  }

  /// What cannot be written is told after what can.
  void finish() {
    std::exception_ptr failure;
    try {
      if (model_.hasSolution() && !options_.output.empty()) writeOutput(model_, options_, console_);
    } catch (const std::runtime_error&) {
      failure = std::current_exception();
    }
    report();
    console_.flush();
    if (failure != nullptr) std::rethrow_exception(failure);
  }

  void report() {
    const SolveReport report(model_, model_.solverFor(options_.solver), infeasible_);
    if (options_.writesToOutput()) return report.note(console_);
    if (options_.json) return report.writeJson(shown_, console_);
    report.print(console_);
    if (!model_.hasSolution()) return;
    for (const Shown& each : shown_) {
      console_.write("\n");
      printShown(each, model_.database(), console_);
    }
  }

  const SolveOptions& options_;
  Console& console_;
  ModelSource source_;
  NamedChanges changes_;
  ChangingModel changing_;
  Model& model_;
  std::vector<Shown> shown_;
  std::optional<InfeasibleSet> infeasible_;
};

ExitCode runSolve(const SolveOptions& options, Console& console) {
  check(options);
  if (!options.solver.empty()) usableSolver(options.solver);
  checkOutputOf(options);
  return withMemoryLimit(options.limits.megabytes,
                         [&] { return SolveRun(options, console).run(); });
}

std::vector<Option> solveOptions() {
  std::vector<Option> options = {
      {.name = "data",
       .value = "FILE",
       .kind = Kind::File,
       .text = "Exchange file with values of parameters",
       .details = "Those that are updatable, and the params of a MathProg model; `--set` comes "
                  "after them.",
       .target = into(&SolveOptions::dataFile)},
      {.name = "set",
       .value = "NAME=VALUE",
       .text = "What to change, and its value, or a CSV file or `-` with values",
       .details =
           "Each row of a file has the labels that NAME leaves open, then the value. A first "
           "row that does not end in a number and is not an entry of the model is a heading "
           "(without labels, a first row that is followed by another), so the output of "
           "`zdbcc dump` can be read. Entries without a row keep their values. Standard "
           "error says how many entries change, of how many, and how many rows are not in the "
           "model.",
       .target = into(&SolveOptions::sets)},
      {.name = "show",
       .value = "SYMBOL",
       .text = "Variable or equation, or some of its entries, to be shown",
       .details = "With labels, level and marginal; entries as in `buy[bread]` or "
                  "`ship['New York',*]`.",
       .target = into(&SolveOptions::shown)},
      solverOption(&SolveOptions::solver)};
  for (Option& option : limitOptions(&SolveOptions::limits)) options.push_back(std::move(option));
  for (Option& option : directionOptions(&SolveOptions::direction)) {
    options.push_back(std::move(option));
  }
  options.insert(
      options.end(),
      {{.name = "relax",
        .text = "Treat integer columns as continuous",
        .target = into(&SolveOptions::relaxes)},
       {.name = "log",
        .text = "Write what the solver says to standard error",
        .target = into(&SolveOptions::logs)},
       {.name = "explain",
        .text = "Do not look for rows and bounds that make a model infeasible",
        .details = "That takes 10 seconds at most.",
        .target = into(&SolveOptions::explains),
        .isNegation = true},
       {.name = "output",
        .letter = 'o',
        .value = "FILE",
        .kind = Kind::File,
        .text = "Exchange file or CSV file to write the solution to, or `-`",
        .details =
            "An exchange file has variables and equations with level, marginal and "
            "bounds, and the updatable parameters that were changed; right-hand sides, costs "
            "and coefficients that were are variables, as `need_rhs_var`. A name that ends in "
            "`.csv`, "
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
  static const std::string details =
      R"(Prints the size of the model, the solver, the status, the objective and the
number of iterations, of a model with integer columns also the bound of the objective and the gap
between them; with ten digits, in JSON and files with all. If the model is infeasible, it names rows
and bounds that exclude each other.

)" + std::string(kChangeNames) +
      R"(

Ctrl-C stops the search; the best solution that was found is printed and written. A second one ends
the program at once.)";
  return {
      .name = "solve",
      .summary = "Solves a model file, with changed data if given",
      .details = details.c_str(),
      .operands = {modelOperand(&SolveOptions::model)},
      .options = solveOptions(),
      .examples =
          {{"zdbcc solve diet.mod --set price=prices.csv --set 'need[iron].rhs=12' -o solution.zxf",
            "With new prices and another need, into a file"},
           {"zdbcc solve diet.mod --show buy --show 'need[calories]'",
            "With what is bought, and what calories cost"},
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
