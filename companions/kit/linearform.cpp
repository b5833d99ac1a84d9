#include "kit/linearform.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zdb::kit {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool isFree(const Instance& instance, int column) {
  return instance.lower(column) == -kInfinity && instance.upper(column) == kInfinity;
}

std::vector<char> changingFlags(const Instance& instance) {
  std::vector<char> flags(instance.matrix.values.size(), 0);
  for (const int place : instance.terms.places()) flags[place] = 1;
  return flags;
}

// Whether it was another value, which it is set to.
bool update(double& value, double newValue) {
  const bool isOther = value != newValue;  // true for NaN
  value = newValue;
  return isOther;
}

}  // namespace

LinearForm::LinearForm(const Instance& instance)
    : instanceId_(instance.id),
      isInteger_(instance.isSolvedAsInteger()),
      hasParameterProducts_(instance.terms.hasParameterProducts()) {
  findObjectiveRow(instance);
  std::vector<int> rowNumbers(instance.rows.size(), -1);
  for (int i = 0; i < instance.rowCount(); ++i) {
    if (i == objectiveRow_) continue;
    rowNumbers[i] = static_cast<int>(rows_.size());
    rows_.push_back(i);
  }
  numbers_.assign(instance.columns.size(), -1);
  const std::vector<char> isChanging = changingFlags(instance);
  model_.rows.reserve(instance.matrix.rows.size());
  model_.values.reserve(instance.matrix.rows.size());
  for (int j = 0; j < instance.columnCount(); ++j) {
    const bool isElsewhere = j == instance.objective && objectiveRow_ >= 0;
    if (instance.isParameter[j] != 0) {
      parameters_.push_back(j);
    } else if (!isElsewhere) {
      takeColumn(instance, j, rowNumbers, isChanging);
    }
  }
  model_.rowLower.resize(rows_.size());
  model_.rowUpper.resize(rows_.size());
  if (!parameters_.empty()) sums_.resize(instance.columns.size());
}

// The objective must occur in one row only, an equation, with a coefficient that does not change.
void LinearForm::findObjectiveRow(const Instance& instance) {
  const int objective = instance.objective;
  if (objective < 0 || instance.isParameter[objective] != 0 || instance.isInteger[objective] != 0) {
    return;
  }
  const Matrix& matrix = instance.matrix;
  const int place = matrix.starts[objective];
  if (matrix.starts[objective + 1] != place + 1 || !isFree(instance, objective)) return;
  const std::vector<int> places = instance.terms.places();
  const bool isChanging = std::binary_search(places.begin(), places.end(), place);
  if (isChanging || instance.rows[matrix.rows[place]].type != EqualRow) return;
  objectiveRow_ = matrix.rows[place];
  objectiveFactor_ = matrix.values[place];
}

void LinearForm::takeColumn(const Instance& instance, int column,
                            const std::vector<int>& rowNumbers,
                            const std::vector<char>& isChanging) {
  const Matrix& matrix = instance.matrix;
  const int number = static_cast<int>(columns_.size());
  columns_.push_back(column);
  numbers_[column] = number;
  for (int place = matrix.starts[column]; place < matrix.starts[column + 1]; ++place) {
    const int row = matrix.rows[place];
    if (row == objectiveRow_) {
      costs_.push_back({number, place});
      if (isChanging[place] != 0) changingCosts_.push_back(costs_.back());
      continue;
    }
    const int target = static_cast<int>(model_.rows.size());
    if (isChanging[place] != 0) {
      changing_.push_back({target, place});
      changingPlaces_.push_back(target);
      changingColumns_.push_back(number);
    }
    model_.rows.push_back(rowNumbers[row]);
    model_.values.push_back(matrix.values[place]);
  }
  model_.starts.push_back(static_cast<int>(model_.rows.size()));
  model_.cost.push_back(0.0);
  if (column == instance.objective) objectiveColumn_ = number;
  model_.lower.push_back(0.0);
  model_.upper.push_back(0.0);
  if (isInteger_) model_.isInteger.push_back(instance.isInteger[column]);
}

bool LinearForm::fits(const Instance& instance) const {
  return instance.id == instanceId_ && instance.isSolvedAsInteger() == isInteger_ &&
         (objectiveRow_ < 0 || isFree(instance, instance.objective));
}

void LinearForm::refresh(const Instance& instance, bool subtractsConstants, Changes& changes) {
  refreshCosts(instance, changes);
  for (std::size_t k = 0; k < changing_.size(); ++k) {
    const Source& source = changing_[k];
    if (!update(model_.values[source.target], instance.matrix.values[source.place])) continue;
    changes.places.push_back(source.target);
    changes.placeColumns.push_back(changingColumns_[k]);
  }
  refreshBounds(instance, changes);
  const auto rhs = [&](int row) {
    return subtractsConstants ? instance.rhs(row) - instance.constants[row] : instance.rhs(row);
  };
  for (std::size_t k = 0; k < rows_.size(); ++k) {
    const int type = instance.rows[rows_[k]].type;
    const double value = rhs(rows_[k]);
    const bool hasLower = type == EqualRow || type == GreaterRow;
    const bool hasUpper = type == EqualRow || type == LessRow;
    const bool isOtherLower = update(model_.rowLower[k], hasLower ? value : -kInfinity);
    const bool isOtherUpper = update(model_.rowUpper[k], hasUpper ? value : kInfinity);
    if (isOtherLower || isOtherUpper) changes.rows.push_back(static_cast<int>(k));
  }
  if (objectiveRow_ >= 0) objectiveRhs_ = rhs(objectiveRow_);
  model_.offset = offset(instance);
  isFresh_ = true;
}

void LinearForm::refreshCosts(const Instance& instance, Changes& changes) {
  const int direction = instance.direction;
  const bool isAll = direction != direction_;
  replacedCosts_.clear();
  formerCosts_.clear();
  const auto replace = [&](int column, double cost) {
    const double former = model_.cost[column];
    if (!update(model_.cost[column], cost)) return;
    replacedCosts_.push_back(column);
    formerCosts_.push_back(former);
  };
  for (const Source& source : isAll ? costs_ : changingCosts_) {
    replace(source.target, -direction * instance.matrix.values[source.place] / objectiveFactor_);
  }
  if (isAll && objectiveColumn_ >= 0) replace(objectiveColumn_, direction);
  changes.costs.insert(changes.costs.end(), replacedCosts_.begin(), replacedCosts_.end());
  direction_ = direction;
}

const std::vector<int>& LinearForm::exchangeCosts() {
  for (std::size_t k = 0; k < replacedCosts_.size(); ++k) {
    std::swap(model_.cost[replacedCosts_[k]], formerCosts_[k]);
  }
  return replacedCosts_;
}

void LinearForm::refreshBounds(const Instance& instance, Changes& changes) {
  const BoundLog& log = instance.boundLog;
  const bool usesAlt = instance.view.usesAltBounds;
  const bool isSeen = isFresh_ && usesAlt == usedAltBounds_ && log.number() == logNumber_;
  if (!isSeen) {
    const int count = static_cast<int>(columns_.size());
    for (int k = 0; k < count; ++k) refreshColumn(instance, k, changes);
  } else {
    for (std::size_t place = logPlace_; place < log.entries().size(); ++place) {
      const int number = numbers_[log.entries()[place]];
      if (number >= 0) refreshColumn(instance, number, changes);
    }
  }
  usedAltBounds_ = usesAlt;
  logNumber_ = log.number();
  logPlace_ = log.entries().size();
}

// Some solvers reject fractional bounds of integer columns.
void LinearForm::refreshColumn(const Instance& instance, int number, Changes& changes) {
  constexpr double tolerance = 1e-9;
  double lower = instance.lower(columns_[number]);
  double upper = instance.upper(columns_[number]);
  if (isInteger_ && model_.isInteger[number] != 0) {
    lower = std::ceil(lower - tolerance);
    upper = std::floor(upper + tolerance);
  }
  const bool isOtherLower = update(model_.lower[number], lower);
  const bool isOtherUpper = update(model_.upper[number], upper);
  if (isOtherLower || isOtherUpper) changes.columns.push_back(number);
}

// What of the objective no column of the model accounts for.
double LinearForm::offset(const Instance& instance) const {
  if (objectiveRow_ >= 0) return instance.direction * objectiveRhs_ / objectiveFactor_;
  const bool isConstant = instance.objective >= 0 && instance.isParameter[instance.objective] != 0;
  return isConstant ? instance.direction * instance.columns[instance.objective].level : 0.0;
}

void LinearForm::store(const Solution& solution, bool isOptimal, Instance& instance) {
  const int status = isOptimal ? EntryOk : EntryNotOptimal;
  const double sign = instance.direction;
  // Marginals of basic rows and columns are 0, but solvers return rounding errors. Adding 0 leaves
  // no -0.
  const auto marginal = [sign](double found, int basis) {
    return basis == Basic ? 0.0 : sign * found + 0.0;
  };
  for (std::size_t k = 0; k < columns_.size(); ++k) {
    ColumnState& column = instance.columns[columns_[k]];
    column.level = solution.level[k] + 0.0;
    column.marginal = marginal(solution.marginal[k], solution.basis[k]);
    column.status = status;
    column.basis = solution.basis[k];
  }
  for (std::size_t k = 0; k < rows_.size(); ++k) {
    RowState& row = instance.rows[rows_[k]];
    row.level = solution.rowLevel[k] + instance.constants[rows_[k]];
    row.marginal = marginal(solution.rowMarginal[k], solution.rowBasis[k]);
    row.status = status;
    row.basis = solution.rowBasis[k];
  }
  storeParameters(instance);
}

void LinearForm::storeObjective(double objective, Instance& instance) const {
  if (objectiveRow_ < 0) return;
  ColumnState& column = instance.columns[instance.objective];
  column.level = instance.direction * objective;
  column.marginal = 0.0;
  column.status = EntryOk;
  column.basis = Basic;
  RowState& row = instance.rows[objectiveRow_];
  row.level = objectiveRhs_ + instance.constants[objectiveRow_];
  row.marginal = 1.0 / objectiveFactor_;
  row.status = EntryOk;
  row.basis = AtLower;
}

// A parameter is a fixed column. Its marginal is the change of the objective per unit of its level,
// which follows from the marginals of the rows and their derivatives by the parameter.
void LinearForm::storeParameters(Instance& instance) {
  if (parameters_.empty()) return;
  std::fill(sums_.begin(), sums_.end(), 0.0);
  instance.terms.addDerivatives([&](int column) { return instance.columns[column].level; },
                                [&](int row) { return instance.rows[row].marginal; }, sums_);
  for (const RhsLink& link : instance.rhsLinks) {
    sums_[link.column] -= instance.rows[link.row].marginal;
  }
  for (const int j : parameters_) {
    ColumnState& column = instance.columns[j];
    column.marginal = (j == instance.objective ? 1.0 : 0.0) - sums_[j];
    column.status = EntryOk;
    column.basis = AtLower;
  }
}

}  // namespace zdb::kit
