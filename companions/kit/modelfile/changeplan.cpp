#include "kit/modelfile/changeplan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "contract/guess.h"
#include "kit/modelfile/changename.h"
#include "kit/modelfile/errors.h"

namespace zdb::kit::modelfile {

namespace {

[[noreturn]] void fail(const ChangeName& name, const std::string& why) {
  throw ReadError("\"" + name.written + "\": " + why);
}

std::string keyOf(const std::vector<std::string>& labels) {
  std::string key;
  for (const std::string& label : labels) key.append(contract::lowerCase(label)).append(1, '\0');
  return key;
}

// The file's rows or columns by the symbols and labels of their names.
class Entries {
 public:
  // `placements` of the file's own come first.
  Entries(const PlannedSymbols& symbols, const std::vector<Placement>& placements,
          std::size_t count, const char* what)
      : placements_(placements), what_(what), bySymbol_(symbols.all().size()) {
    for (std::size_t k = 0; k < count; ++k) {
      bySymbol_[placements[k].symbol].push_back(static_cast<int>(k) + 1);
    }
    for (std::size_t s = 0; s < bySymbol_.size(); ++s) {
      if (bySymbol_[s].empty()) continue;
      const PlannedSymbol& symbol = symbols.all()[s];
      names_.emplace(symbol.name, static_cast<int>(s));
      names_.emplace(symbolOf(symbol.written), static_cast<int>(s));
    }
  }

  bool has(const SymbolicName& name) const { return names_.contains(name.symbol); }

  // Those that a name stands for: one, or without labels all of its symbol.
  std::vector<int> of(const ChangeName& change, const SymbolicName& name) {
    const auto found = names_.find(name.symbol);
    if (found == names_.end()) failUnknown(change, name);
    const std::vector<int>& entries = bySymbol_[found->second];
    const std::size_t dim = placements_[entries.front() - 1].labels.size();
    if (name.labels.empty()) return entries;
    if (name.labels.size() != dim) {
      fail(change, std::string(what_) + " " + name.written + " needs " + std::to_string(dim) +
                       (dim == 1 ? " label, not " : " labels, not ") +
                       std::to_string(name.labels.size()));
    }
    const auto& index = indexOf(found->second);
    const auto entry = index.find(keyOf(name.labels));
    if (entry == index.end()) failLabels(change, name, entries);
    return {entry->second};
  }

  // The names of updatable parameters.
  void offerParameters(contract::NearestWord& nearest) const {
    for (const auto& [name, symbol] : names_) {
      if (isParameterName(name)) {
        nearest.consider(name.substr(0, name.size() - kParameterSuffix.size()));
      }
    }
  }

 private:
  using Index = std::unordered_map<std::string, int>;

  const Index& indexOf(int symbol) {
    const auto [place, isNew] = indices_.try_emplace(symbol);
    if (isNew) {
      for (const int entry : bySymbol_[symbol]) {
        place->second.emplace(keyOf(placements_[entry - 1].labels), entry);
      }
    }
    return place->second;
  }

  [[noreturn]] void failUnknown(const ChangeName& change, const SymbolicName& name) const {
    contract::NearestWord nearest(name.symbol);
    for (const auto& [known, symbol] : names_) nearest.consider(known);
    fail(change,
         std::string("the model has no ") + what_ + " " + name.written + nearest.question());
  }

  // The first label that no entry has is the wrong one, if there is one.
  [[noreturn]] void failLabels(const ChangeName& change, const SymbolicName& name,
                               const std::vector<int>& entries) const {
    for (std::size_t d = 0; d < name.labels.size(); ++d) {
      contract::NearestWord nearest(name.labels[d]);
      bool isKnown = false;
      for (const int entry : entries) {
        const std::string& label = placements_[entry - 1].labels[d];
        isKnown = isKnown || isSameText(label, name.labels[d]);
        nearest.consider(label);
      }
      if (isKnown) continue;
      fail(change, std::string("no ") + what_ + " of " + name.written + " has the label " +
                       name.labels[d] + nearest.question());
    }
    fail(change, std::string("the model has no such ") + what_);
  }

  const std::vector<Placement>& placements_;
  const char* what_;
  std::vector<std::vector<int>> bySymbol_;
  kit::NumberByName names_;
  std::unordered_map<int, Index> indices_;
};

class ChangePlanner {
 public:
  ChangePlanner(const FileModel& file, ModelPlan& plan, const std::vector<std::string>& params)
      : file_(file),
        plan_(plan),
        params_(params),
        rows_(plan.rowSymbols, plan.rows, file.rows.size(), "row"),
        columns_(plan.columnSymbols, plan.columns, file.columns.size(), "column") {
    if (!file.objectiveName.empty()) objective_ = parseName(file.objectiveName);
  }

  ChangePlan planAll(const std::vector<std::string>& changes) {
    for (const std::string& written : changes) planOne(parseChange(written));
    takeValues();
    return std::move(result_);
  }

 private:
  using Place = ChangeColumn::Place;
  static constexpr const char* kCoefficient = "_coef_";

  void planOne(const ChangeName& name) {
    switch (name.attribute) {
      case Attribute::Value:
        return planValue(name);
      case Attribute::Rhs:
        return planRhs(name);
      case Attribute::Cost:
        return planCost(name);
      case Attribute::Coefficient:
        return planCoefficients(name);
      case Attribute::Lower:
        return planBounds(name, SetLower);
      case Attribute::Upper:
        return planBounds(name, SetUpper);
      case Attribute::Both:
        return planBounds(name, SetBounds);
    }
  }

  // `labels` are those that the name gives; there are `dim` in all.
  void made(const ChangeName& name, const std::string& symbol, ChangeAction action,
            std::vector<std::string> labels, std::size_t dim, std::size_t entries) {
    labels.resize(dim);
    result_.made.push_back(
        {name.written, symbol, action, static_cast<int>(entries), std::move(labels)});
  }

  // An updatable parameter that the file has by itself.
  void planValue(const ChangeName& name) {
    SymbolicName variable = name.target;
    variable.symbol += kParameterSuffix;
    if (!columns_.has(variable)) failValue(name);
    const std::vector<int> entries = columns_.of(name, variable);
    const Placement& at = plan_.columns[entries.front() - 1];
    made(name, symbolName(at), SetValue, name.target.labels, at.labels.size(), entries.size());
  }

  [[noreturn]] void failValue(const ChangeName& name) const {
    const std::string& symbol = name.target.symbol;
    if (columns_.has(name.target)) {
      fail(name, symbol + " is a variable: change its .lo, .up, .fx or .cost");
    }
    if (rows_.has(name.target) || isObjective(name.target)) {
      fail(name, symbol + " is an equation: change its .rhs or .coef[COLUMN]");
    }
    if (std::find(params_.begin(), params_.end(), symbol) != params_.end()) {
      fail(name, symbol + " is a param, whose values are given with a variant of the model");
    }
    contract::NearestWord nearest(symbol);
    for (const std::string& param : params_) nearest.consider(param);
    columns_.offerParameters(nearest);
    fail(name, "the model has no updatable parameter or param " + symbol + nearest.question());
  }

  bool isObjective(const SymbolicName& name) const {
    return plan_.objectiveRow > 0 && isSameText(name.symbol, objective_.symbol) &&
           (name.labels.empty() || keyOf(name.labels) == keyOf(objective_.labels));
  }

  std::vector<int> rowsOf(const ChangeName& name) {
    if (isObjective(name.target)) return {plan_.objectiveRow};
    return rows_.of(name, name.target);
  }

  static bool hasRhs(const FileRow& row) {
    return !isRange(row) && (std::isfinite(row.lower) || std::isfinite(row.upper));
  }

  void planRhs(const ChangeName& name) {
    std::vector<int> rows = rowsOf(name);
    const bool isConstant = rows.front() == plan_.objectiveRow;
    const std::size_t all = rows.size();
    const FileRow& first = file_.rows.empty() || isConstant ? FileRow{} : file_.rows[rows[0] - 1];
    if (!isConstant) std::erase_if(rows, [&](int row) { return !hasRhs(file_.rows[row - 1]); });
    if (rows.empty() && all == 1 && isRange(first)) {
      fail(name, "the row has two bounds: use .lo and .up");
    }
    if (rows.empty()) fail(name, "the row is free: it has no right-hand side");
    const int symbol = symbolFor(name, "_rhs", rows.front(), 0);
    for (const int row : rows) {
      const double value = isConstant ? file_.objectiveConstant : rhsOf(file_.rows[row - 1]);
      add(name, {{symbol, plan_.rows[row - 1].labels},
                 isConstant ? Place::Constant : Place::Rhs,
                 row,
                 0,
                 value});
    }
    made(name, symbol, name.target.labels, rows.size());
  }

  static double rhsOf(const FileRow& row) {
    return std::isfinite(row.lower) ? row.lower : row.upper;
  }

  void requireObjective(const ChangeName& name) const {
    if (plan_.objectiveRow == 0) fail(name, "the model has no objective");
  }

  void planCost(const ChangeName& name) {
    requireObjective(name);
    const std::vector<int> columns = columns_.of(name, name.target);
    const int symbol = symbolFor(name, "_cost", 0, columns.front());
    for (const int column : columns) {
      add(name, {{symbol, plan_.columns[column - 1].labels},
                 Place::Coefficient,
                 plan_.objectiveRow,
                 column,
                 0.0});
    }
    made(name, symbol, name.target.labels, columns.size());
  }

  // A coefficient that is named may be 0 today; of a whole symbol, those that are not are meant.
  void planCoefficients(const ChangeName& name) {
    const std::vector<int> rows = rowsOf(name);
    const std::vector<int> columns = columns_.of(name, name.column);
    const Placement& row = plan_.rows[rows.front() - 1];
    const Placement& column = plan_.columns[columns.front() - 1];
    const bool isOne = isEntry(name.target, row) && isEntry(name.column, column);
    if (isOne && row.labels.size() + column.labels.size() > kMaxDim) {
      return planWithoutLabels(name, rows.front(), columns.front());
    }
    const int symbol = symbolFor(name, kCoefficient, rows.front(), columns.front());
    const auto count = isOne ? addCoefficient(name, symbol, rows.front(), columns.front())
                             : addNonZeros(name, symbol, rows, columns);
    if (count == 0) fail(name, "the model has no such coefficient that is not 0");
    std::vector<std::string> labels = name.target.labels;
    labels.resize(row.labels.size());
    labels.insert(labels.end(), name.column.labels.begin(), name.column.labels.end());
    made(name, symbol, std::move(labels), count);
  }

  // A single coefficient with too many labels for a symbol has one of its own.
  void planWithoutLabels(const ChangeName& name, int row, int column) {
    const std::string base = name.target.symbol + kCoefficient + name.column.symbol;
    const int symbol = plan_.columnSymbols.addOwn(unusedName(base), 0);
    add(name, {{symbol, {}}, Place::Coefficient, row, column, 0.0});
    made(name, symbol, {}, 1);
  }

  static bool isEntry(const SymbolicName& name, const Placement& at) {
    return name.labels.size() == at.labels.size();
  }

  std::size_t addCoefficient(const ChangeName& name, int symbol, int row, int column) {
    std::vector<std::string> labels = plan_.rows[row - 1].labels;
    const std::vector<std::string>& others = plan_.columns[column - 1].labels;
    labels.insert(labels.end(), others.begin(), others.end());
    add(name, {{symbol, std::move(labels)}, Place::Coefficient, row, column, 0.0});
    return 1;
  }

  std::size_t addNonZeros(const ChangeName& name, int symbol, const std::vector<int>& rows,
                          const std::vector<int>& columns) {
    std::vector<char> isRow(plan_.rows.size() + 1, 0);
    std::vector<char> isColumn(plan_.columns.size() + 1, 0);
    for (const int row : rows) isRow[row] = 1;
    for (const int column : columns) isColumn[column] = 1;
    std::size_t count = 0;
    for (const FileCoefficient& term : file_.coefficients) {
      const int row = rowOf(term);
      if (row == 0 || isRow[row] == 0 || isColumn[term.column] == 0) continue;
      count += addCoefficient(name, symbol, row, term.column);
    }
    return count;
  }

  // The row of the plan; 0 for the repetition of the objective in its own row, which is left out.
  int rowOf(const FileCoefficient& term) const {
    if (term.row == 0) return plan_.objectiveRow;
    return term.row == plan_.objectiveRow ? 0 : term.row;
  }

  void planBounds(const ChangeName& name, ChangeAction action) {
    if (!columns_.has(name.target) && rows_.has(name.target)) return planRange(name, action);
    const std::vector<int> columns = columns_.of(name, name.target);
    const Placement& at = plan_.columns[columns.front() - 1];
    if (isParameterName(symbolName(at))) {
      fail(name, "it is an updatable parameter, whose bounds do not count: change its value");
    }
    made(name, symbolName(at), action, name.target.labels, at.labels.size(), columns.size());
  }

  // The bounds of a range row are those of its slack column.
  void planRange(const ChangeName& name, ChangeAction action) {
    const std::vector<int> rows = rows_.of(name, name.target);
    std::vector<char> isAsked(plan_.rows.size() + 1, 0);
    for (const int row : rows) isAsked[row] = 1;
    std::size_t count = 0;
    std::string symbol;
    for (std::size_t k = 0; k < plan_.rangeRows.size(); ++k) {
      if (isAsked[plan_.rangeRows[k]] == 0) continue;
      symbol = symbolName(plan_.columns[file_.columns.size() + k]);
      ++count;
    }
    if (count == 0) fail(name, "the row does not have two bounds: use .rhs");
    made(name, symbol, action, name.target.labels, plan_.rows[rows.front() - 1].labels.size(),
         count);
  }

  const std::string& symbolName(const Placement& at) const {
    return plan_.columnSymbols.all()[at.symbol].name;
  }

  void made(const ChangeName& name, int symbol, std::vector<std::string> labels,
            std::size_t entries) {
    const PlannedSymbol& planned = plan_.columnSymbols.all()[symbol];
    made(name, planned.name, SetValue, std::move(labels), static_cast<std::size_t>(planned.dim),
         entries);
  }

  // The symbol of the columns for an attribute of a symbol of rows, columns, or both; 0 is neither.
  int symbolFor(const ChangeName& name, const char* attribute, int row, int column) {
    const int rowSymbol = row == 0 ? -1 : plan_.rows[row - 1].symbol;
    const int columnSymbol = column == 0 ? -1 : plan_.columns[column - 1].symbol;
    const auto [known, isNew] =
        symbols_.try_emplace({std::string(attribute), rowSymbol, columnSymbol}, 0);
    if (isNew) {
      const std::size_t dim = (row == 0 ? 0 : plan_.rows[row - 1].labels.size()) +
                              (column == 0 ? 0 : plan_.columns[column - 1].labels.size());
      if (dim > kMaxDim) fail(name, "rows and columns have more than 20 labels together");
      const std::string base = name.target.symbol + attribute + name.column.symbol;
      known->second = plan_.columnSymbols.addOwn(unusedName(base), static_cast<int>(dim));
    }
    return known->second;
  }

  // Neither the variable nor a parameter, which is named without the suffix, may meet a symbol.
  std::string unusedName(const std::string& base) const {
    const auto isTaken = [this](const std::string& name) {
      return plan_.columnSymbols.has(name) || plan_.rowSymbols.has(name);
    };
    std::string number;
    for (int next = 2;; number = std::to_string(next++)) {
      const std::size_t most = kMaxName - kParameterSuffix.size() - number.size();
      const std::string name = base.substr(0, most) + number;
      std::string variable = name + std::string(kParameterSuffix);
      if (!isTaken(name) && !isTaken(variable)) return variable;
    }
  }

  std::int64_t placeOf(int row, int column) const {
    return static_cast<std::int64_t>(row) * (static_cast<std::int64_t>(plan_.columns.size()) + 1) +
           column;
  }

  // The same place may be asked for twice, but has one name.
  void add(const ChangeName& name, ChangeColumn column) {
    const auto next = static_cast<int>(result_.columns.size());
    const auto [known, isNew] = places_.try_emplace(placeOf(column.row, column.column), next);
    if (isNew) {
      result_.columns.push_back(std::move(column));
    } else if (result_.columns[known->second].at.symbol != column.at.symbol) {
      fail(name, "the same number is changed under another name as well");
    }
  }

  // What the coefficients are today.
  void takeValues() {
    if (places_.empty()) return;
    for (const FileCoefficient& term : file_.coefficients) {
      const int row = rowOf(term);
      const auto known = row == 0 ? places_.end() : places_.find(placeOf(row, term.column));
      if (known != places_.end()) result_.columns[known->second].value += term.value;
    }
  }

  const FileModel& file_;
  ModelPlan& plan_;
  const std::vector<std::string>& params_;
  Entries rows_;
  Entries columns_;
  SymbolicName objective_;
  std::map<std::tuple<std::string, int, int>, int> symbols_;
  std::unordered_map<std::int64_t, int> places_;  // row and column, 0 for the row's constant
  ChangePlan result_;
};

}  // namespace

ChangePlan planChanges(const FileModel& file, ModelPlan& plan,
                       const std::vector<std::string>& changes,
                       const std::vector<std::string>& params) {
  if (changes.empty()) return {};
  return ChangePlanner(file, plan, params).planAll(changes);
}

}  // namespace zdb::kit::modelfile
