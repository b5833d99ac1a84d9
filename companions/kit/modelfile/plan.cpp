#include "kit/modelfile/plan.h"

#include <cmath>

namespace zdb::kit::modelfile {

namespace {

class Planner {
 public:
  explicit Planner(const FileModel& file) : file_(file) {}

  ModelPlan plan() {
    plan_.columns.reserve(file_.columns.size() + 1);
    plan_.rows.reserve(file_.rows.size() + 1);
    for (const FileColumn& column : file_.columns) {
      plan_.columns.push_back(place(plan_.columnSymbols, column.name));
    }
    for (std::size_t i = 0; i < file_.rows.size(); ++i) {
      const std::string& name = file_.rows[i].name;
      const std::string number = "r" + std::to_string(i + 1);
      plan_.rows.push_back(place(plan_.rowSymbols, name.empty() ? number : name));
    }
    if (!file_.objectiveName.empty()) planObjective();
    renameRows();
    planSlacks();
    if (plan_.objectiveRow > 0) addObjectiveColumn();
    return std::move(plan_);
  }

 private:
  static Placement place(PlannedSymbols& symbols, const std::string& name) {
    SymbolicName parts = parseName(name);
    const int symbol = symbols.add(parts, name);
    return {symbol, std::move(parts.labels)};
  }

  std::string unused(const std::string& name, const char* suffix) const {
    return freeName(name, suffix, plan_.columnSymbols, plan_.rowSymbols);
  }

  // The symbols of the objective's column and, unless the file lists it, of its row.
  void planObjective() {
    const SymbolicName parts = parseName(file_.objectiveName);
    const int dim = static_cast<int>(parts.labels.size());
    const bool isTaken =
        plan_.columnSymbols.has(parts.symbol) || kit::isParameterName(parts.symbol);
    const std::string name = isTaken ? unused(parts.symbol, "_obj") : parts.symbol;
    objective_ = {plan_.columnSymbols.addOwn(name, dim), parts.labels};
    plan_.objectiveRow = file_.objectiveRow;
    if (plan_.objectiveRow > 0) return;
    const bool isRowTaken = plan_.rowSymbols.has(parts.symbol) && !isTaken;
    const std::string rowName = isRowTaken ? unused(parts.symbol, "_obj") : name;
    plan_.rows.push_back({plan_.rowSymbols.addOwn(rowName, dim), parts.labels});
    plan_.objectiveRow = static_cast<int>(plan_.rows.size());
  }

  // A symbol is a variable or an equation: if both have the same name, the equation is renamed.
  void renameRows() {
    for (std::size_t s = 0; s < plan_.rowSymbols.all().size(); ++s) {
      const std::string name = plan_.rowSymbols.all()[s].name;
      if (!plan_.columnSymbols.has(name)) continue;
      plan_.rowSymbols.rename(static_cast<int>(s), unused(name, "_eqn"));
    }
  }

  void planSlacks() {
    std::vector<int> slackOf(plan_.rowSymbols.all().size(), -1);  // by row symbol
    for (std::size_t i = 0; i < file_.rows.size(); ++i) {
      if (!isRange(file_.rows[i])) continue;
      const Placement& row = plan_.rows[i];
      int& slack = slackOf[row.symbol];
      if (slack < 0) {
        const PlannedSymbol& symbol = plan_.rowSymbols.all()[row.symbol];
        slack = plan_.columnSymbols.addOwn(unused(symbol.name, "_range"), symbol.dim);
      }
      plan_.columns.push_back({slack, row.labels});
      plan_.rangeRows.push_back(static_cast<int>(i) + 1);
    }
  }

  void addObjectiveColumn() {
    plan_.columns.push_back(std::move(objective_));
    plan_.objectiveColumn = static_cast<int>(plan_.columns.size());
  }

  const FileModel& file_;
  ModelPlan plan_;
  Placement objective_;
};

}  // namespace

bool isRange(const FileRow& row) {
  return std::isfinite(row.lower) && std::isfinite(row.upper) && row.lower != row.upper;
}

ModelPlan planModel(const FileModel& file) {
  return Planner(file).plan();
}

}  // namespace zdb::kit::modelfile
