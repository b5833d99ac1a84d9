#include "scenariosolver.h"

#include <cmath>

#include "console.h"
#include "zkitdclib.h"

namespace zdb::tool {

ScenarioSolver::ScenarioSolver(const SweepOptions& options)
    : options_(options),
      model_(std::make_unique<Model>(options.model)),
      scenarios_(options.scenarios),
      columns_({"scenario", "status", "objective", "iterations"}),
      format_(model_->database().specialValues()),
      row_(text_, options.json) {
  bind();
  requireOneColumnEach();
  requireFiniteValues();
  for (const std::string& text : options.shown) {
    shown_.push_back(parseEntry(text));
    model_->level(shown_.back());  // throws if it is not there
  }
  columns_.insert(columns_.end(), options.shown.begin(), options.shown.end());
  row_.singleRows(columns_);
}

void ScenarioSolver::open() {
  base_.reset();
  targets_.clear();
  parameters_.clear();
  model_ = std::make_unique<Model>(options_.model);
  bind();
}

void ScenarioSolver::bind() {
  if (options_.start == SweepStart::Base) zkitSetStart(model_->instance(), ZKIT_START_FIRST);
  for (const std::string& heading : scenarios_.headings()) {
    try {
      bindTarget(parseEntry(heading));
    } catch (const std::runtime_error& failure) {
      throw ToolError(scenarios_.file() + ": row 1: " + failure.what());
    }
  }
}

void ScenarioSolver::bindTarget(const Entry& entry) {
  const zdbcc::Symbol parameter = model_->parameter(entry.symbol);
  model_->requireEntry(parameter, entry.labels);
  targets_.push_back({parameter.name(), entry.labels});
  parameters_.emplace(parameter.name(), parameter);
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

ScenarioResult ScenarioSolver::solve(std::size_t scenario) {
  if (options_.start == SweepStart::Base) solveBase();
  ScenarioResult result = trySolving(scenario);
  if (result.failure.empty()) result.row = rowOf(scenario);
  // The solver is gone, and with it the basis that others would have started from.
  if (zkitSolveStatus(model_->instance()) == ZKIT_SOLVER_FAILED) open();
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
    model_->solve(options_.solver);
    if (model_->isSolved()) result.objective = zkitObjective(model_->instance());
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

std::string ScenarioSolver::rowOf(std::size_t scenario) {
  const bool isSolved = model_->isSolved();
  row_.text(scenarios_.name(scenario));
  row_.text(zkitModelStatusText(zkitModelStatus(model_->instance())));
  isSolved ? row_.number(zkitObjective(model_->instance()), format_) : row_.nothing();
  row_.integer(zkitIterations(model_->instance()));
  for (const Entry& entry : shown_) {
    isSolved ? row_.number(model_->level(entry), format_) : row_.nothing();
  }
  row_.endRow();
  return text_.take();
}

}  // namespace zdb::tool
