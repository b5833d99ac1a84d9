#include "scenariosolver.h"

#include <algorithm>
#include <map>
#include <utility>

#include "console.h"
#include "interrupt.h"
#include "modeltext.h"
#include "solverinfo.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

/// The scenarios, and after them one without changes.
std::vector<ChangeScenario> changesOf(const Scenarios& scenarios) {
  std::vector<ChangeScenario> all(scenarios.count() + 1);
  for (std::size_t i = 0; i < scenarios.count(); ++i) {
    all[i].place = scenarios.place(i);
    for (std::size_t c = 0; c < scenarios.headings().size(); ++c) {
      const std::optional<double> value = scenarios.value(i, c);
      if (value) all[i].values.push_back({c, {}, *value});
    }
  }
  return all;
}

SweepOptions withTexts(SweepOptions options) {
  options.model = withTexts(std::move(options.model));
  return options;
}

bool isOneEntry(const Shown& shown) {
  const std::vector<std::string>& labels = shown.labels;
  return labels.size() == static_cast<std::size_t>(shown.symbol.dim()) &&
         std::find(labels.begin(), labels.end(), "*") == labels.end();
}

}  // namespace

ScenarioSolver::ScenarioSolver(const SweepOptions& options)
    : options_(withTexts(options)), scenarios_(options.scenarios), row_(text_, options.json) {
  open();
  nameColumns();
  row_.singleRows(columns_);
}

void ScenarioSolver::open() {
  base_.reset();
  const auto prepare = [this](Model& model) {
    options_.direction.apply(model);
    if (options_.relaxes) zkitSetModelType(model.instance(), ZKIT_RMIP);
    if (options_.start == SweepStart::Base) zkitSetStart(model.instance(), ZKIT_START_FIRST);
    options_.limits.apply(model.instance());
  };
  changing_ =
      std::make_unique<ChangingModel>(options_.model, scenarios_.headings(), changesOf(scenarios_),
                                      UnknownEntries::Refuse, prepare);
  model_ = &changing_->model();
  requireSolver(options_.solver, !options_.relaxes && zkitIntegerColumns(model_->instance()) > 0);
  bindShown();
}

// An entry is a column, all else goes to the table in long form, and everything to a data file.
void ScenarioSolver::bindShown() {
  shownEntries_.clear();
  shownSymbols_.clear();
  for (const std::string& text : options_.shown) {
    const Shown shown = readShown(model_->database(), text);
    if (isOneEntry(shown) && !options_.writesExchangeFile()) {
      shownEntries_.push_back({text, parseEntry(text)});
      continue;
    }
    if (options_.records.empty() && !options_.writesExchangeFile()) {
      throw ToolError("--show " + text + " has more than one entry: name an entry, as in " +
                      shown.symbol.name() + "[label], or a file for all of them, with --long");
    }
    shownSymbols_.push_back(shown);
    width_ = std::max(width_, shown.symbol.dim());
  }
}

void ScenarioSolver::nameColumns() {
  columns_ = {"scenario", "status", "objective", "iterations"};
  if (options_.keepsGoing) columns_.emplace_back("reason");
  for (const ShownEntry& shown : shownEntries_) columns_.push_back(shown.text);
  if (shownSymbols_.empty()) return;
  recordColumns_ = solutionColumns(width_);
  recordColumns_.insert(recordColumns_.begin(), "scenario");
}

std::string ScenarioSolver::solver() {
  return options_.solver.empty() ? model_->defaultSolver() : options_.solver;
}

// Columns that change alike are told together, and not all of very many.
std::vector<std::string> ScenarioSolver::changes() const {
  constexpr std::size_t kMostNames = 4;
  std::map<std::pair<int, int>, std::vector<std::string>> alike;
  for (std::size_t c = 0; c < scenarios_.headings().size(); ++c) {
    const auto [changed, entries] = changing_->coverage(c);
    alike[{changed, entries}].push_back(scenarios_.headings()[c]);
  }
  std::vector<std::string> texts;
  for (const auto& [coverage, names] : alike) {
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMostNames); ++i) {
      text.append(i == 0 ? "" : ", ").append(names[i]);
    }
    if (names.size() > kMostNames)
      text += " and " + std::to_string(names.size() - kMostNames) + " more";
    text += (names.size() > 1 ? " change " : " changes ") + std::to_string(coverage.first);
    if (coverage.second >= 0) text += " of " + std::to_string(coverage.second);
    texts.push_back(text + (names.size() > 1 ? " each" : ""));
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
  if (!base_) base_ = trySolving(base());
  return *base_;
}

ScenarioResult ScenarioSolver::trySolving(std::size_t scenario) {
  ScenarioResult result;
  try {
    model_ = &changing_->apply(scenario);
    const Interrupt interrupt(model_->instance());
    model_->solve(options_.solver);
    if (zkitSolveStatus(model_->instance()) == ZKIT_INTERRUPTED) throw InterruptedError();
    if (model_->hasSolution()) result.objective = zkitObjective(model_->instance());
  } catch (const std::runtime_error& failure) {
    result.failure = failure.what();
  }
  return result;
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
  for (const ShownEntry& shown : shownEntries_) {
    const std::optional<double> level = result.objective ? levelOf(shown.entry) : std::nullopt;
    level ? row_.number(*level, format) : row_.nothing();
  }
  row_.endRow();
  return text_.take();
}

// Entries that a model of its own does not have are left out.
std::optional<double> ScenarioSolver::levelOf(const Entry& entry) {
  try {
    return model_->level(entry);
  } catch (const ToolError&) {
    if (!isOwn()) throw;
    return std::nullopt;
  }
}

std::vector<Shown> ScenarioSolver::shownOfOwn() const {
  std::vector<Shown> found;
  for (const Shown& shown : shownSymbols_) {
    const auto symbol = model_->database().findSymbol(shown.symbol.name());
    if (symbol && symbol->dim() == shown.symbol.dim()) found.push_back({*symbol, shown.labels});
  }
  return found;
}

std::string ScenarioSolver::recordsOf(std::size_t scenario) {
  ValueFormat format(model_->database().specialValues());
  TextOutput text;
  CsvWriter csv(text);
  for (const Shown& shown : isOwn() ? shownOfOwn() : shownSymbols_) {
    writeSolutionRows(shown, &scenarios_.name(scenario), width_, format, csv);
  }
  return text.take();
}

}  // namespace zdb::tool
