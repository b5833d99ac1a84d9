#include "scenariosolver.h"

#include <algorithm>
#include <cmath>

#include "console.h"
#include "interrupt.h"
#include "zkitdclib.h"

namespace zdb::tool {

ScenarioSolver::ScenarioSolver(const SweepOptions& options)
    : options_(options), scenarios_(options.scenarios), row_(text_, options.json) {
  open();
  requireOneColumnEach();
  requireFiniteValues();
  nameColumns();
  row_.singleRows(columns_);
}

void ScenarioSolver::open() {
  base_.reset();
  model_ = std::make_unique<Model>(options_.model);
  bind();
}

void ScenarioSolver::bind() {
  void* instance = model_->instance();
  if (options_.relaxes) zkitSetModelType(instance, ZKIT_RMIP);
  if (options_.start == SweepStart::Base) zkitSetStart(instance, ZKIT_START_FIRST);
  options_.limits.apply(instance);
  targets_.clear();
  parameters_.clear();
  for (const std::string& heading : scenarios_.headings()) {
    try {
      bindTarget(parseEntry(heading));
    } catch (const std::runtime_error& failure) {
      throw ToolError(scenarios_.file() + ": row 1: " + failure.what());
    }
  }
  shownEntries_.clear();
  shownSymbols_.clear();
  for (const std::string& text : options_.shown) bindShown(text);
}

void ScenarioSolver::bindTarget(const Entry& entry) {
  const zdbcc::Symbol parameter = model_->parameter(entry.symbol);
  model_->requireEntry(parameter, entry.labels);
  targets_.push_back({parameter.name(), entry.labels});
  parameters_.emplace(parameter.name(), parameter);
}

// An entry is a column, all else goes to the table in long form, and everything to a data file.
void ScenarioSolver::bindShown(const std::string& text) {
  const Shown shown = readShown(model_->database(), text);
  const bool isEntry =
      shown.labels.size() == static_cast<std::size_t>(shown.symbol.dim()) &&
      std::find(shown.labels.begin(), shown.labels.end(), "*") == shown.labels.end();
  if (isEntry && !options_.writesExchangeFile()) {
    shownEntries_.push_back({text, parseEntry(text)});
    return;
  }
  if (options_.records.empty() && !options_.writesExchangeFile()) {
    throw ToolError("--show " + text + " has more than one entry: name an entry, as in " +
                    shown.symbol.name() + "[label], or a file for all of them, with --long");
  }
  shownSymbols_.push_back(shown);
  width_ = std::max(width_, shown.symbol.dim());
}

void ScenarioSolver::nameColumns() {
  columns_ = {"scenario", "status", "objective", "iterations"};
  if (options_.keepsGoing) columns_.emplace_back("reason");
  for (const auto& [text, entry] : shownEntries_) columns_.push_back(text);
  if (shownSymbols_.empty()) return;
  recordColumns_ = solutionColumns(width_);
  recordColumns_.insert(recordColumns_.begin(), "scenario");
}

// By the numbers of labels: the same entry can be written in many ways.
void ScenarioSolver::requireOneColumnEach() const {
  std::map<std::string, std::size_t> known;
  for (std::size_t c = 0; c < targets_.size(); ++c) {
    std::string key = targets_[c].symbol;
    for (const std::string& label : targets_[c].labels) {
      key.append(",").append(std::to_string(*model_->database().findLabel(label)));
    }
    const auto [first, isNew] = known.emplace(key, c);
    if (isNew) continue;
    const std::string& name = scenarios_.headings()[c];
    const std::string& earlier = scenarios_.headings()[first->second];
    throw ToolError(scenarios_.file() + ": row 1: " + name + " occurs twice" +
                    (name == earlier ? "" : ", first as " + earlier));
  }
}

void ScenarioSolver::requireFiniteValues() const {
  for (std::size_t i = 0; i < scenarios_.count(); ++i) {
    for (std::size_t c = 0; c < targets_.size(); ++c) {
      const double value = scenarios_.value(i, c).value_or(0);
      if (!std::isinf(value)) continue;
      throw ToolError(scenarios_.place(i) + scenarios_.headings()[c] + ": " +
                      (value > 0 ? "+Inf" : "-Inf") + " is not a value for a parameter");
    }
  }
}

std::string ScenarioSolver::solver() {
  return options_.solver.empty() ? model_->defaultSolver() : options_.solver;
}

std::vector<std::string> ScenarioSolver::changes() {
  std::vector<std::string> texts;
  for (const auto& [name, parameter] : parameters_) {
    const auto isOfIt = [&](const Target& target) { return target.symbol == name; };
    const auto changed = std::count_if(targets_.begin(), targets_.end(), isOfIt);
    const auto entries = model_->database().symbol(name + "_var").size();
    texts.push_back(name + ": " + std::to_string(changed) + " of " + std::to_string(entries) +
                    (entries == 1 ? " entry" : " entries"));
  }
  return texts;
}

ScenarioResult ScenarioSolver::solve(std::size_t scenario) {
  if (options_.start == SweepStart::Base) solveBase();
  ScenarioResult result = trySolving(scenario);
  result.row = rowOf(scenario, result);
  if (result.objective) result.records = recordsOf(scenario);
  // The solver is gone, and with it the basis that others would have started from.
  if (zkitSolveStatus(model_->instance()) == ZKIT_SOLVER_FAILED) open();
  return result;
}

ScenarioResult ScenarioSolver::failedResult(std::size_t scenario, const std::string& why) {
  ScenarioResult result;
  result.failure = why;
  result.row = rowOf(scenario, result);
  return result;
}

// Also a base without a solution leaves a basis.
const ScenarioResult& ScenarioSolver::solveBase() {
  if (!base_) base_ = trySolving(std::nullopt);
  return *base_;
}

ScenarioResult ScenarioSolver::trySolving(std::optional<std::size_t> scenario) {
  ScenarioResult result;
  try {
    apply(scenario);
    const Interrupt interrupt(model_->instance());
    model_->solve(options_.solver);
    if (zkitSolveStatus(model_->instance()) == ZKIT_INTERRUPTED) throw InterruptedError();
    if (model_->hasSolution()) result.objective = zkitObjective(model_->instance());
  } catch (const std::runtime_error& failure) {
    result.failure = failure.what();
  }
  return result;
}

// All entries without a value get the model's own.
void ScenarioSolver::apply(std::optional<std::size_t> scenario) {
  for (const auto& [name, parameter] : parameters_) parameter.clear();
  for (std::size_t c = 0; scenario && c < targets_.size(); ++c) {
    const std::optional<double> value = scenarios_.value(*scenario, c);
    if (value) model_->set(parameters_.at(targets_[c].symbol), targets_[c].labels, *value);
  }
  for (const auto& [name, parameter] : parameters_) model_->update(parameter, ZDB_MISSING_BASE);
}

std::string ScenarioSolver::rowOf(std::size_t scenario, const ScenarioResult& result) {
  ValueFormat format(model_->database().specialValues());
  void* instance = model_->instance();
  const bool hasFailed = !result.failure.empty();
  row_.text(scenarios_.name(scenario));
  row_.text(hasFailed ? kFailedStatus : zkitModelStatusText(zkitModelStatus(instance)));
  result.objective ? row_.number(*result.objective, format) : row_.nothing();
  hasFailed ? row_.nothing() : row_.integer(zkitIterations(instance));
  if (options_.keepsGoing) hasFailed ? row_.text(printable(result.failure)) : row_.nothing();
  for (const auto& [text, entry] : shownEntries_) {
    result.objective ? row_.number(model_->level(entry), format) : row_.nothing();
  }
  row_.endRow();
  return text_.take();
}

std::string ScenarioSolver::recordsOf(std::size_t scenario) {
  ValueFormat format(model_->database().specialValues());
  TextOutput text;
  CsvWriter csv(text);
  for (const Shown& shown : shownSymbols_) {
    writeSolutionRows(shown, &scenarios_.name(scenario), width_, format, csv);
  }
  return text.take();
}

}  // namespace zdb::tool
