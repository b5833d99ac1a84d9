// zdbcc solve: solves a model file, with changed data if given, and writes the solution to a
// data file.
#include "csvreader.h"
#include "json.h"
#include "model.h"
#include "outputfile.h"
#include "values.h"
#include "verbs.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

struct SolveOptions {
  ModelSource model;
  std::string dataFile;
  std::vector<std::string> sets;
  std::string solver;
  std::string output;
  bool force = false;
  bool json = false;
};

void noteUnmatched(Console& console, const std::string& name, int unmatched) {
  if (unmatched == 0) return;
  console.note(name + ": " + std::to_string(unmatched) +
               (unmatched == 1 ? " record is" : " records are") + " not in the model");
}

/// Takes every parameter of a data file that is updatable in the model.
void takeDataFile(Model& model, const std::string& file, Console& console) {
  Database data(file);
  int taken = 0;
  for (int i = 0; i < data.symbolCount(); ++i) {
    const Symbol source = data.symbolAt(i);
    if (source.type != ZDB_PARAMETER || !model.hasParameter(source.name)) continue;
    const Symbol target = model.parameter(source.name);
    model.database().require(
        c__zdbcopysymbol(model.database().handle(), target.handle, source.handle));
    noteUnmatched(console, file + ": " + source.name, model.update(target, ZDB_MISSING_KEEP));
    ++taken;
  }
  if (taken == 0) throw ToolError(file + " has no parameter that is updatable in the model");
}

/// Whether a first row that does not end in a number is a misspelt value, not a heading. For a
/// scalar, which has no labels, a heading is a row that is followed by another.
bool isMeantForAnEntry(Model& model, const Symbol& target, const CsvRow& row, std::size_t rows) {
  return target.dim == 0 ? rows == 1 : model.hasEntry(target, row.fields);
}

/// Takes the values of a parameter: labels and a value in each row, with or without a heading.
void takeCsv(Model& model, const std::string& option, Console& console) {
  const auto equals = option.find('=');
  if (equals == std::string::npos)
    throw WrongUseError("--set needs SYMBOL=FILE, not " + printable(option));
  const std::string file = option.substr(equals + 1);
  const Symbol target = model.parameter(option.substr(0, equals));
  const ValueFormat format(model.database().specials());
  std::vector<CsvRow> rows = readCsv(file);
  bool isFirst = true;
  for (CsvRow& row : rows) {
    const std::string place = file + ": row " + std::to_string(row.number) + ": ";
    const std::string text = row.fields.back();
    const auto value = format.parse(text);
    row.fields.pop_back();
    const bool isHeading = isFirst && !value && !isMeantForAnEntry(model, target, row, rows.size());
    isFirst = false;
    if (isHeading) continue;
    if (!value) throw ToolError(place + '"' + printable(text) + "\" is not a number");
    try {
      model.set(target, row.fields, *value);
    } catch (const ToolError& failure) {
      throw ToolError(place + failure.what());
    }
  }
  noteUnmatched(console, file, model.update(target, ZDB_MISSING_KEEP));
}

std::string line(const char* name, const std::string& value) {
  return std::string(name) + std::string(12 - std::string(name).size(), ' ') + value + '\n';
}

std::string sizeText(void* instance) {
  std::string text = std::to_string(zkitRows(instance)) + " rows, " +
                     std::to_string(zkitColumns(instance)) + " columns, " +
                     std::to_string(zkitNonZeros(instance)) + " non-zeros";
  const int integers = zkitIntegerColumns(instance);
  return integers == 0 ? text : text + ", " + std::to_string(integers) + " integer columns";
}

bool hasObjective(const Model& model) {
  return model.isSolved() && zkitObjectiveColumn(model.instance()) >= 0;
}

void printResult(Model& model, Console& console) {
  void* instance = model.instance();
  ValueFormat format(model.database().specials());
  console.write(line("model", sizeText(instance)));
  console.write(line("status", zkitModelStatusText(zkitModelStatus(instance))));
  console.write(line("solve", zkitSolveStatusText(zkitSolveStatus(instance))));
  if (hasObjective(model)) {
    console.write(line("objective", std::string(format(zkitObjective(instance)))));
  }
  console.write(line("iterations", std::to_string(zkitIterations(instance))));
}

void writeResult(const Model& model, Console& console) {
  void* instance = model.instance();
  JsonWriter json(console);
  json.beginObject().field("rows", zkitRows(instance)).field("columns", zkitColumns(instance));
  json.field("nonZeros", zkitNonZeros(instance));
  json.field("integerColumns", zkitIntegerColumns(instance));
  json.field("status", zkitModelStatusText(zkitModelStatus(instance)));
  json.field("solve", zkitSolveStatusText(zkitSolveStatus(instance)));
  if (hasObjective(model)) json.field("objective", zkitObjective(instance));
  json.field("iterations", zkitIterations(instance)).end();
}

void checkOutputOf(const SolveOptions& options) {
  if (options.output.empty() || options.force) return;
  std::vector<std::string> inputs = {options.model.file, options.model.data, options.dataFile};
  for (const std::string& set : options.sets) inputs.push_back(set.substr(set.find('=') + 1));
  checkOutput(options.output, inputs);
}

void runSolve(const SolveOptions& options, Console& console) {
  checkOutputOf(options);
  Model model(options.model);
  if (!options.dataFile.empty()) takeDataFile(model, options.dataFile, console);
  for (const std::string& set : options.sets) takeCsv(model, set, console);
  model.solve(options.solver);
  options.json ? writeResult(model, console) : printResult(model, console);
  if (!model.isSolved()) {
    console.flush();
    throw ToolError("no optimal solution: " +
                    std::string(zkitModelStatusText(zkitModelStatus(model.instance()))));
  }
  if (options.output.empty()) return;
  Database& db = model.database();
  db.require(c__zdbwritezxf(db.handle(), options.output.c_str(), 1));
}

}  // namespace

Verb solveVerb() {
  return {.name = "solve",
          .summary = "Solves a model file, with changed data if given",
          .details = R"(Prints the size of the model, the status, the objective and the number of
iterations.

A parameter `p` is updatable if the model has a variable `p_var`.)",
          .operands = {modelOperand(&SolveOptions::model)},
          .options = withModelOptions(
              &SolveOptions::model,
              {{.name = "data",
                .value = "FILE",
                .kind = Kind::File,
                .text = "Exchange file with values of updatable parameters",
                .target = into(&SolveOptions::dataFile)},
               {.name = "set",
                .value = "SYMBOL=FILE",
                .text = "CSV file, or `-`, with values of an updatable parameter",
                .details =
                    "Each row has the labels, then the value. A first row that does not end in a "
                    "number and is not an entry of the model is a heading (for a scalar, a "
                    "first row that is followed by another), so the output of `zdbcc dump` can "
                    "be read. Entries without a row keep their values; the number of records "
                    "without an entry in the model is printed on standard error.",
                .target = into(&SolveOptions::sets)},
               solverOption(&SolveOptions::solver),
               {.name = "output",
                .letter = 'o',
                .value = "FILE",
                .kind = Kind::File,
                .text = "Exchange file to write the solution to",
                .details = "Variables and equations with level, marginal and bounds, and the "
                           "parameters that were changed.",
                .target = into(&SolveOptions::output)},
               {.name = "force",
                .text = "Write over an input, or over a file that is not an exchange file",
                .target = into(&SolveOptions::force)},
               jsonOption(&SolveOptions::json)}),
          .examples = {{"zdbcc solve diet.mod --set price=prices.csv -o solution.zxf",
                        "With new prices, into a file"},
                       {"zdbcc solve plan.mps --solver glpk", "With another solver"}},
          .exitCodes = {{ExitCode::Done,
                         "The solution is optimal, even if there were records without an entry."},
                        {ExitCode::Failed, "There is no optimal solution, or something failed."},
                        {ExitCode::WrongUse, "The command line is wrong; nothing was done."}},
          .action = runs(runSolve)};
}

}  // namespace zdb::tool
