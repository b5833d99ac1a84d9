#include "kit/modelfile/build.h"
#include "kit/changes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "kit/error.h"
#include "kit/instance.h"
#include "kit/modelbuilder.h"
#include "kit/modelfile/changeplan.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/plan.h"

namespace zdb::kit::modelfile {

namespace {

// A step of building. An error of the kit is shown with the name in the file that caused it.
template <typename Step>
auto named(const std::string& name, Step step) {
  try {
    return step();
  } catch (const KitError& error) {
    throw ReadError((name.empty() ? "" : "name \"" + name + "\": ") + error.what());
  }
}

template <typename Step>
auto unnamed(Step step) {
  return named("", step);
}

class Labels {
 public:
  explicit Labels(const Placement& placement) {
    for (std::size_t d = 0; d < placement.labels.size(); ++d) {
      labels_[d] = placement.labels[d].c_str();
    }
  }
  const char* const* data() const { return labels_.data(); }

 private:
  std::array<const char*, kMaxDim> labels_{};
};

// Rows and columns count from 1 here and from 0 in the kit.
class Builder {
 public:
  Builder(const ReadModel& read, const std::vector<std::string>& changes)
      : read_(read),
        file_(read.model),
        plan_(planModel(file_)),
        changes_(planChanges(file_, plan_, changes, read.params)),
        model_(file_.name) {}

  Instance* build(const char* systemDirectory) {
    addSymbols(plan_.columnSymbols, VariableSymbol, columnSymbols_);
    addSymbols(plan_.rowSymbols, EquationSymbol, rowSymbols_);
    for (std::size_t j = 1; j <= plan_.columns.size(); ++j) addColumn(static_cast<int>(j));
    for (std::size_t i = 1; i <= plan_.rows.size(); ++i) addRow(static_cast<int>(i));
    return unnamed([&] {
      addChanges();
      addTerms();
      addSlacks();
      if (plan_.objectiveColumn > 0) addObjective();
      openPlaces();
      auto instance = std::make_unique<Instance>(model_.data(), systemDirectory);
      instance->changes = changes_.made;
      findNamedColumns(*instance);
      instance->paramEntries = read_.paramEntries;
      addVariants(*instance);
      return instance.release();
    });
  }

 private:
  void addSymbols(const PlannedSymbols& symbols, int type, std::vector<int>& numbers) {
    for (const PlannedSymbol& symbol : symbols.all()) {
      const std::string text = symbol.written == symbol.name ? "" : symbol.written;
      numbers.push_back(named(symbol.example, [&] {
        return model_.addSymbol(symbol.name, type, symbol.dim, text, 0);
      }));
    }
  }

  // The data of a column: of one in the file, the slack of a range row, or the objective.
  FileColumn columnOf(int number) const {
    const auto index = static_cast<std::size_t>(number) - 1;
    if (index < file_.columns.size()) return file_.columns[index];
    if (number == plan_.objectiveColumn) return {file_.objectiveName, -INFINITY, INFINITY, false};
    const FileRow& row = file_.rows[plan_.rangeRows[index - file_.columns.size()] - 1];
    return {row.name, row.lower, row.upper, false};
  }

  void addColumn(int number) {
    const FileColumn column = columnOf(number);
    const Placement& at = plan_.columns[number - 1];
    const double level = levelIn(column.lower, column.upper);
    const bool isParameter = isParameterName(plan_.columnSymbols.all()[at.symbol].name);
    named(column.name, [&] {
      const int made = model_.addColumn(columnSymbols_[at.symbol], Labels(at).data(), column.lower,
                                        column.upper, level);
      if (column.isInteger && !isParameter) model_.setInteger(made, true);
    });
  }

  static int typeOf(const FileRow& row) {
    const bool hasLower = std::isfinite(row.lower);
    const bool hasUpper = std::isfinite(row.upper);
    if (hasLower && hasUpper) return EqualRow;  // a range row as well: it gets a slack
    if (hasLower) return GreaterRow;
    return hasUpper ? LessRow : FreeRow;
  }

  void addRow(int number) {
    const FileRow row = number == plan_.objectiveRow ? FileRow{file_.objectiveName, 0.0, 0.0}
                                                     : file_.rows[number - 1];
    const int type = typeOf(row);
    const double bound = type == LessRow ? row.upper : row.lower;
    const double rhs = type == FreeRow || isRange(row) ? 0.0 : bound;
    const Placement& at = plan_.rows[number - 1];
    named(row.name,
          [&] { return model_.addRow(rowSymbols_[at.symbol], Labels(at).data(), type, rhs); });
  }

  void coefficient(int row, int column, double value) {
    if (isReplaced(row, column)) return;
    model_.addCoefficient(row - 1, column - 1, value);
  }

  // Values that can be changed are levels of parameters.
  void addChanges() {
    for (const ChangeColumn& change : changes_.columns) {
      const int parameter =
          model_.addColumn(columnSymbols_[change.at.symbol], Labels(change.at).data(), change.value,
                           change.value, change.value);
      parameterOf_.emplace(placeOf(change.row, change.column), parameter);
      switch (change.place) {
        case ChangeColumn::Place::Rhs:
          model_.linkRhs(change.row - 1, parameter);
          break;
        case ChangeColumn::Place::Constant:
          isConstantChanged_ = true;
          model_.addCoefficient(change.row - 1, parameter, -1.0);
          break;
        case ChangeColumn::Place::Coefficient:
          replaced_.insert(placeOf(change.row, change.column));
          model_.addProduct(change.row - 1, parameter, change.column - 1, signOf(change.row));
          break;
      }
    }
  }

  // The objective's terms stand on the left-hand side of its row.
  double signOf(int row) const { return row == plan_.objectiveRow ? -1.0 : 1.0; }

  static std::int64_t placeOf(int row, int column) {
    return (static_cast<std::int64_t>(row) << 32) + column;
  }

  bool isReplaced(int row, int column) const {
    return !replaced_.empty() && replaced_.contains(placeOf(row, column));
  }

  // The terms of the objective are on the left-hand side of its row, with the sign opposite to that
  // of its column. If the file lists that row, it repeats them, so skip the copy.
  void addTerms() {
    const int objective = plan_.objectiveRow;
    for (const FileCoefficient& term : file_.coefficients) {
      if (term.row == 0 && objective > 0) coefficient(objective, term.column, -term.value);
      if (term.row > 0 && term.row != objective) coefficient(term.row, term.column, term.value);
    }
    for (const FileProduct& term : file_.products) {
      const int row = term.row == 0 ? objective : term.row;
      const double value = term.row == 0 ? -term.value : term.value;
      model_.addProduct(row - 1, term.column1 - 1, term.column2 - 1, value);
    }
  }

  void addSlacks() {
    int slack = static_cast<int>(file_.columns.size());
    for (const int row : plan_.rangeRows) coefficient(row, ++slack, -1.0);
  }

  void addObjective() {
    coefficient(plan_.objectiveRow, plan_.objectiveColumn, 1.0);
    if (!isConstantChanged_) model_.addConstant(plan_.objectiveRow - 1, -file_.objectiveConstant);
    model_.setObjective(plan_.objectiveColumn - 1, file_.maximize ? -1 : 1);
  }

  // The coefficients in which variants differ. Those of parameters are constants.
  void openPlaces() {
    for (const VariantModel& variant : read_.variants) {
      for (const FileCoefficient& term : variant.difference.coefficients) {
        const int row = term.row == 0 ? plan_.objectiveRow : term.row;
        const bool isOpened = !opened_.insert(placeOf(row, term.column)).second;
        if (isOpened || isParameter(term.column) || isReplaced(row, term.column)) continue;
        model_.openPlace(row - 1, term.column - 1);
      }
    }
  }

  bool isParameter(int column) const {
    return isParameterName(plan_.columnSymbols.all()[plan_.columns[column - 1].symbol].name);
  }

  void addVariants(Instance& instance) {
    for (const VariantModel& read : read_.variants) {
      Variant variant;
      const Difference& difference = read.difference;
      variant.message = read.failure.empty() ? difference.structure : read.failure;
      if (read.failure.empty()) variant.state = Variant::Differs;
      const bool hasParameterTerms =
          std::any_of(difference.coefficients.begin(), difference.coefficients.end(),
                      [&](const FileCoefficient& term) { return isParameter(term.column); });
      if (hasParameterTerms) variant.message = "it has other coefficients of updatable parameters";
      if (variant.message.empty()) {
        variant.state = Variant::Fits;
        variant.patch = patchOf(difference);
        addTo(instance.base, difference);
      }
      instance.variants.push_back(std::move(variant));
    }
  }

  Patch patchOf(const Difference& difference) const {
    Patch patch;
    for (std::size_t k = 0; k < difference.columns.size(); ++k) {
      patchColumn(difference.columns[k], difference.columnBounds[k], patch);
    }
    for (std::size_t k = 0; k < difference.rows.size(); ++k) {
      patchRow(difference.rows[k], difference.rowBounds[k], patch);
    }
    for (const FileCoefficient& term : difference.coefficients) {
      patchCoefficient(term.row, term.column, term.value, patch);
    }
    if (difference.hasConstant) patchConstant(difference.objectiveConstant, patch);
    return patch;
  }

  // The model's own numbers for all that differs, each of them once.
  void addTo(Patch& base, const Difference& difference) {
    for (const int j : difference.columns) {
      if (isNew(0, j)) patchColumn(j, file_.columns[j - 1], base);
    }
    for (const int i : difference.rows) {
      if (isNew(i, 0)) patchRow(i, file_.rows[i - 1], base);
    }
    for (const FileCoefficient& term : difference.coefficients) {
      const auto [known, isFirst] = ownValues().try_emplace(placeOf(term.row, term.column), 0.0);
      if (isNew(term.row + 1, term.column)) {
        patchCoefficient(term.row, term.column, known->second, base);
      }
    }
    if (difference.hasConstant && isNew(0, 0)) patchConstant(file_.objectiveConstant, base);
  }

  bool isNew(int row, int column) { return inBase_.insert(placeOf(row, column)).second; }

  std::unordered_map<std::int64_t, double>& ownValues() {
    if (ownValues_.empty()) {
      for (const FileCoefficient& term : file_.coefficients) {
        ownValues_[placeOf(term.row, term.column)] = term.value;
      }
    }
    return ownValues_;
  }

  void patchColumn(int number, const FileColumn& column, Patch& patch) const {
    if (isParameter(number)) {
      patch.levels.push_back({number - 1, levelIn(column.lower, column.upper)});
    } else {
      patch.columns.push_back({number - 1, column.lower, column.upper});
    }
  }

  // The column of a change that stands for a number, or -1.
  int changeColumn(int row, int column) const {
    const auto found = parameterOf_.find(placeOf(row, column));
    return found == parameterOf_.end() ? -1 : found->second;
  }

  void patchRow(int number, const FileRow& row, Patch& patch) const {
    const auto range = std::lower_bound(plan_.rangeRows.begin(), plan_.rangeRows.end(), number);
    if (range != plan_.rangeRows.end() && *range == number) {
      const auto slack = static_cast<int>(
          file_.columns.size() + static_cast<std::size_t>(range - plan_.rangeRows.begin()));
      patch.columns.push_back({slack, row.lower, row.upper});
      return;
    }
    const double rhs = typeOf(row) == LessRow ? row.upper : row.lower;
    const int parameter = changeColumn(number, 0);
    parameter < 0 ? patch.rhs.push_back({number - 1, rhs})
                  : patch.levels.push_back({parameter, rhs});
  }

  void patchCoefficient(int row, int column, double value, Patch& patch) const {
    if (row != 0 && row == plan_.objectiveRow) return;  // the file lists it as well
    const int target = row == 0 ? plan_.objectiveRow : row;
    const int parameter = changeColumn(target, column);
    if (parameter >= 0) {
      patch.levels.push_back({parameter, value});
    } else {
      patch.coefficients.push_back({target - 1, column - 1, signOf(target) * value});
    }
  }

  void patchConstant(double value, Patch& patch) const {
    const int row = plan_.objectiveRow;
    const int parameter = changeColumn(row, 0);
    parameter < 0 ? patch.constants.push_back({row - 1, -value})
                  : patch.levels.push_back({parameter, value});
  }

  static double levelIn(double lower, double upper) {
    return std::max(lower, std::min(upper, 0.0));
  }

  const ReadModel& read_;
  const FileModel& file_;
  ModelPlan plan_;
  ChangePlan changes_;
  ModelBuilder model_;
  std::vector<int> columnSymbols_;  // numbers in the model, by planned symbol
  std::vector<int> rowSymbols_;
  std::unordered_set<std::int64_t> replaced_;  // coefficients for which parameters stand
  std::unordered_set<std::int64_t> opened_;
  std::unordered_set<std::int64_t> inBase_;  // row, column; rows of coefficients count from 1
  std::unordered_map<std::int64_t, int> parameterOf_;  // column of a change, by row and column
  std::unordered_map<std::int64_t, double> ownValues_;
  bool isConstantChanged_ = false;
};

}  // namespace

Instance* buildInstance(const FileModel& file, const char* systemDirectory) {
  return buildInstance(ReadModel{file, {}, {}, {}}, systemDirectory);
}

Instance* buildInstance(const ReadModel& read, const char* systemDirectory,
                        const std::vector<std::string>& changes) {
  return Builder(read, changes).build(systemDirectory);
}

}  // namespace zdb::kit::modelfile
