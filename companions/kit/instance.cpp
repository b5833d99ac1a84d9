#include "kit/instance.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <new>
#include <utility>

#include "kit/subtypes.h"

namespace zdb::kit {

namespace {

int nextId() {
  static std::atomic<int> last{0};
  return ++last;
}

}  // namespace

void BoundLog::note(int column, std::size_t columns) noexcept {
  if (entries_.size() >= columns) restart();
  try {
    entries_.push_back(column);
  } catch (const std::bad_alloc&) {
    restart();  // then all are looked at
  }
}

Instance::Instance(const ModelData& model, const char* systemDirectory)
    : id(nextId()),
      dictionary(model.dictionary),
      environment(systemDirectory),
      terms(model, matrix),
      rhsLinks(model.rhsLinks),
      objective(model.objective),
      direction(model.direction) {
  dictionary.sort();
  for (int i = 1; i <= dictionary.symbolCount(); ++i) {
    if (dictionary.symbol(i).userInfo != 0) continue;
    dictionary.setUserInfo(i, subtypeOf(model, dictionary.symbol(i)));
  }
  columns.reserve(model.columns.size());
  bounds.reserve(model.columns.size());
  for (const ColumnData& column : model.columns) {
    columns.push_back({column.level});
    bounds.push_back({column.lower, column.upper, column.lower, column.upper});
    isInteger.push_back(column.isInteger ? 1 : 0);
    isParameter.push_back(column.isParameter ? 1 : 0);
  }
  rows.reserve(model.rows.size());
  for (const RowData& row : model.rows) {
    rows.push_back({0.0, 0.0, row.rhs, row.rhs, row.type});
    ownConstants.push_back(row.constant);
  }
  integerCount = static_cast<int>(std::count(isInteger.begin(), isInteger.end(), 1));
  type = integerCount > 0 ? MipModel : LpModel;
  updateLinear();
}

void Instance::setBound(double newBound, bool hasLevels) {
  gap = kUnknown;
  bound = objective < 0 ? kUnknown : newBound;
  if (!hasLevels || std::isnan(bound)) return;
  const double level = columns[objective].level;
  // No level is better than the bound, but both have the solver's tolerances.
  if (direction * (level - bound) < 0.0) bound = level;
  const double distance = std::abs(level - bound);
  gap = distance == 0.0 ? 0.0 : distance / std::abs(level);
}

void Instance::refuse(Outcome outcome, const char* why) noexcept {
  const Statuses statuses = statusesOf(outcome, false, isSolvedAsInteger());
  modelStatus = statuses.model;
  solveStatus = statuses.solve;
  bound = gap = kUnknown;
  try {
    message = why;
  } catch (const std::exception&) {
    message.clear();  // no memory for the text either
  }
}

void Instance::settleFrom(SolutionSource* source) noexcept {
  if (source_ != nullptr && source_ != source) source_->drop();
  source_ = source;
}

void Instance::settle() noexcept {
  if (source_ != nullptr) std::exchange(source_, nullptr)->deliver(*this);
}

void Instance::updateLinear() {
  newConstants_ = ownConstants;
  terms.evaluate([this](int column) { return columns[column].level; }, matrix.values,
                 newConstants_.data());
  if (newConstants_ != constants) settle();  // levels of rows are those with the old ones
  constants.swap(newConstants_);
  for (const RhsLink& link : rhsLinks) rows[link.row].rhs = columns[link.column].level;
}

}  // namespace zdb::kit
