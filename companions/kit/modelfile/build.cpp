#include "kit/modelfile/build.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "kit/modelfile/errors.h"
#include "kit/modelfile/plan.h"
#include "zkitdclib.h"

namespace zdb::kit::modelfile {

namespace {

// A model under construction, freed at the end of the scope.
class KitModel {
 public:
  explicit KitModel(const std::string& name) { check(zkitModelCreate(&model_, name.c_str()), ""); }
  ~KitModel() { zkitModelFree(&model_); }
  KitModel(const KitModel&) = delete;
  KitModel& operator=(const KitModel&) = delete;

  operator zkitModel_t() const { return model_; }

  // Throws what the kit says about a call that failed, with the name of what it was about.
  void check(int done, const std::string& name) const {
    if (done != 0) return;
    const char* said = model_ == nullptr ? "out of memory" : zkitLastError(model_);
    throw Complaint(name.empty() ? said : "name \"" + name + "\": " + said);
  }

 private:
  zkitModel_t model_ = nullptr;
};

class Labels {
 public:
  explicit Labels(const Placement& placement) {
    for (std::size_t d = 0; d < placement.labels.size(); ++d) {
      labels_[d] = placement.labels[d].c_str();
    }
  }
  const char* const* data() const { return labels_.data(); }

 private:
  std::array<const char*, ZKIT_MAX_DIM> labels_{};
};

// Rows and columns count from 1 here and from 0 in the kit.
class Builder {
 public:
  explicit Builder(const FileModel& file)
      : file_(file), plan_(planModel(file)), model_(file.name) {}

  void* build(const char* systemDirectory) {
    addSymbols(plan_.columnSymbols, ZKIT_VARIABLE, columnSymbols_);
    addSymbols(plan_.rowSymbols, ZKIT_EQUATION, rowSymbols_);
    for (std::size_t j = 1; j <= plan_.columns.size(); ++j) addColumn(static_cast<int>(j));
    for (std::size_t i = 1; i <= plan_.rows.size(); ++i) addRow(static_cast<int>(i));
    addTerms();
    addSlacks();
    if (plan_.objectiveColumn > 0) addObjective();
    void* instance = nullptr;
    model_.check(zkitModelFinish(model_, systemDirectory, &instance), "");
    return instance;
  }

 private:
  void addSymbols(const PlannedSymbols& symbols, int type, std::vector<int>& numbers) {
    for (const PlannedSymbol& symbol : symbols.all()) {
      const std::string text = symbol.written == symbol.name ? "" : symbol.written;
      numbers.push_back(0);
      model_.check(zkitAddSymbol(model_, symbol.name.c_str(), type, symbol.dim, text.c_str(), 0,
                                 &numbers.back()),
                   symbol.example);
    }
  }

  // What a column is: of the file, the slack of a range row, or the objective.
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
    const double level = std::max(column.lower, std::min(column.upper, 0.0));
    int made = 0;
    model_.check(zkitAddColumn(model_, columnSymbols_[at.symbol], Labels(at).data(), column.lower,
                               column.upper, level, &made),
                 column.name);
    const bool isParameter = kit::isParameterName(plan_.columnSymbols.all()[at.symbol].name);
    if (column.isInteger && !isParameter)
      model_.check(zkitSetColumnInteger(model_, made, 1), column.name);
  }

  static int typeOf(const FileRow& row) {
    const bool hasLower = std::isfinite(row.lower);
    const bool hasUpper = std::isfinite(row.upper);
    if (hasLower && hasUpper) return ZKIT_EQUAL;  // of a range too, with its slack
    if (hasLower) return ZKIT_GREATER;
    return hasUpper ? ZKIT_LESS : ZKIT_FREE;
  }

  void addRow(int number) {
    const FileRow row = number == plan_.objectiveRow ? FileRow{file_.objectiveName, 0.0, 0.0}
                                                     : file_.rows[number - 1];
    const int type = typeOf(row);
    const double bound = type == ZKIT_LESS ? row.upper : row.lower;
    const double rhs = type == ZKIT_FREE || isRange(row) ? 0.0 : bound;
    const Placement& at = plan_.rows[number - 1];
    int made = 0;
    model_.check(zkitAddRow(model_, rowSymbols_[at.symbol], Labels(at).data(), type, rhs, &made),
                 row.name);
  }

  void coefficient(int row, int column, double value) {
    model_.check(zkitAddCoefficient(model_, row - 1, column - 1, value), "");
  }

  // The objective's terms stand on the left-hand side of its row, opposite its column. Where the
  // file lists that row, it repeats them.
  void addTerms() {
    const int objective = plan_.objectiveRow;
    for (const FileCoefficient& term : file_.coefficients) {
      if (term.row == 0 && objective > 0) coefficient(objective, term.column, -term.value);
      if (term.row > 0 && term.row != objective) coefficient(term.row, term.column, term.value);
    }
    for (const FileProduct& term : file_.products) {
      const int row = term.row == 0 ? objective : term.row;
      const double value = term.row == 0 ? -term.value : term.value;
      model_.check(zkitAddProduct(model_, row - 1, term.column1 - 1, term.column2 - 1, value), "");
    }
  }

  void addSlacks() {
    int slack = static_cast<int>(file_.columns.size());
    for (const int row : plan_.rangeRows) coefficient(row, ++slack, -1.0);
  }

  void addObjective() {
    coefficient(plan_.objectiveRow, plan_.objectiveColumn, 1.0);
    model_.check(zkitAddConstant(model_, plan_.objectiveRow - 1, -file_.objectiveConstant), "");
    const int direction = file_.maximize ? -1 : 1;
    model_.check(zkitSetObjective(model_, plan_.objectiveColumn - 1, direction), "");
  }

  const FileModel& file_;
  ModelPlan plan_;
  KitModel model_;
  std::vector<int> columnSymbols_;  // their numbers in the model
  std::vector<int> rowSymbols_;
};

}  // namespace

void* buildInstance(const FileModel& file, const char* systemDirectory) {
  return Builder(file).build(systemDirectory);
}

}  // namespace zdb::kit::modelfile
