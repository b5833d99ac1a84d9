// zdbcc sweep: solves many scenarios of a model, one after the other, into one table.
#include <map>

#include "csvreader.h"
#include "model.h"
#include "progress.h"
#include "rowwriter.h"
#include "values.h"
#include "verbs.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

struct SweepOptions {
  ModelSource model;
  std::string scenarios;
  std::vector<std::string> shown;
  std::string solver;
  bool json = false;
};

/// A column of the scenario file: an entry of an updatable parameter.
struct Column {
  Entry entry;
  std::string name;
};

/// The scenarios: the first column has their names, each other column the values of an entry. An
/// empty field means the model's own value.
class Scenarios {
 public:
  Scenarios(Model& model, const std::string& file)
      : model_(model), format_(model.database().specials()), file_(file), rows_(readCsv(file)) {
    if (rows_.size() < 2)
      throw ToolError(file + " has no scenarios: write a heading and at least one row");
    for (std::size_t c = 1; c < rows_[0].fields.size(); ++c) addColumn(rows_[0].fields[c]);
    for (const CsvRow& row : rows_) {
      if (row.fields.size() != columns_.size() + 1) {
        throw ToolError(place(row) + std::to_string(row.fields.size()) +
                        " fields, but the heading has " + std::to_string(columns_.size() + 1));
      }
    }
  }

  std::size_t count() const { return rows_.size() - 1; }
  const std::string& name(std::size_t scenario) const { return rows_[scenario + 1].fields[0]; }

  /// "file: row number: ", for messages.
  std::string place(std::size_t scenario) const { return place(rows_[scenario + 1]); }

  /// Writes the values of a scenario to the model, and the model's own values to all other entries.
  void apply(std::size_t scenario) {
    const CsvRow& row = rows_[scenario + 1];
    for (const auto& [name, parameter] : parameters_) {
      model_.database().require(c__zdbclearsymbol(model_.database().handle(), parameter.handle));
    }
    for (std::size_t c = 0; c < columns_.size(); ++c) {
      const std::string& text = row.fields[c + 1];
      if (text.empty()) continue;
      const auto value = format_.parse(text);
      if (!value) throw ToolError('"' + printable(text) + "\" is not a number");
      model_.set(parameters_.at(columns_[c].entry.symbol), columns_[c].entry.labels, *value);
    }
    for (const auto& [name, parameter] : parameters_) {
      if (model_.update(parameter, ZDB_MISSING_BASE) == 0) continue;
      throw ToolError(name + " has a value for labels that are not in the model");
    }
  }

 private:
  void addColumn(const std::string& name) {
    for (const Column& column : columns_) {
      if (column.name == name) throw ToolError(name + " occurs twice in the heading of " + file_);
    }
    columns_.push_back({parseEntry(name), name});
    const std::string& symbol = columns_.back().entry.symbol;
    parameters_.emplace(symbol, model_.parameter(symbol));
  }

  std::string place(const CsvRow& row) const {
    return file_ + ": row " + std::to_string(row.number) + ": ";
  }

  Model& model_;
  ValueFormat format_;
  std::string file_;
  std::vector<CsvRow> rows_;
  std::vector<Column> columns_;
  std::map<std::string, Symbol> parameters_;
};

/// Solves the scenarios and writes a row for each.
class Sweep {
 public:
  Sweep(const SweepOptions& options, Console& console)
      : options_(options),
        console_(console),
        model_(options.model),
        scenarios_(model_, options.scenarios),
        format_(model_.database().specials()),
        rows_(console, options.json) {
    for (const std::string& text : options.shown) shown_.push_back(parseEntry(text));
  }

  void run() {
    std::vector<std::string> names = {"scenario", "status", "objective", "iterations"};
    names.insert(names.end(), options_.shown.begin(), options_.shown.end());
    rows_.table(names, [&] {
      Progress progress(console_, "scenarios");
      for (std::size_t i = 0; i < scenarios_.count(); ++i) {
        solve(i);
        writeRow(i);
        progress.update(i + 1, scenarios_.count());
      }
    });
  }

 private:
  void solve(std::size_t scenario) {
    try {
      scenarios_.apply(scenario);
      model_.solve(options_.solver);
    } catch (const ToolError& failure) {
      throw ToolError(scenarios_.place(scenario) + failure.what());
    }
  }

  void writeRow(std::size_t scenario) {
    const bool isSolved = model_.isSolved();
    rows_.text(scenarios_.name(scenario));
    rows_.text(zkitModelStatusText(zkitModelStatus(model_.instance())));
    isSolved ? rows_.number(zkitObjective(model_.instance()), format_) : rows_.nothing();
    rows_.integer(zkitIterations(model_.instance()));
    for (const Entry& entry : shown_) {
      isSolved ? rows_.number(model_.level(entry), format_) : rows_.nothing();
    }
    rows_.endRow();
  }

  const SweepOptions& options_;
  Console& console_;
  Model model_;
  Scenarios scenarios_;
  std::vector<Entry> shown_;
  ValueFormat format_;
  RowWriter rows_;
};

void runSweep(const SweepOptions& options, Console& console) {
  Sweep(options, console).run();
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
          &SweepOptions::model, {{.name = "scenarios",
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
                                 jsonOption(&SweepOptions::json)}),
      .examples = {{"zdbcc sweep diet.mod --scenarios prices.csv --show 'buy[bread]' > results.csv",
                    "Costs and an amount for each row of prices"}},
      .action = runs(runSweep)};
}

}  // namespace zdb::tool
