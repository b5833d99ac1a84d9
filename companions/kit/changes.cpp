#include "kit/changes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "contract/guess.h"
#include "kit/bounds.h"
#include "kit/error.h"

namespace zdb::kit {

namespace {

const ChangeInfo& infoOf(const Instance& instance, int change) {
  if (change < 0 || change >= static_cast<int>(instance.changes.size())) {
    throw KitError("There is no change " + std::to_string(change));
  }
  return instance.changes[static_cast<std::size_t>(change)];
}

// The labels of the name, and those given where it leaves them open.
std::array<std::string_view, kMaxDim> labelsOf(const ChangeInfo& info,
                                               std::span<const char* const> given) {
  const auto open = std::count(info.labels.begin(), info.labels.end(), "");
  if (given.size() != static_cast<std::size_t>(open)) {
    throw KitError(info.name + " needs " + std::to_string(open) +
                   (open == 1 ? " label, not " : " labels, not ") + std::to_string(given.size()));
  }
  std::array<std::string_view, kMaxDim> labels;
  std::size_t next = 0;
  for (std::size_t d = 0; d < info.labels.size(); ++d) {
    const bool isOpen = info.labels[d].empty();
    if (isOpen && given[next] == nullptr) throw KitError(info.name + ": a label is null");
    labels[d] = isOpen ? std::string_view(given[next++]) : std::string_view(info.labels[d]);
  }
  return labels;
}

// The column, or -1.
int columnOf(const Instance& instance, const ChangeInfo& info,
             const std::array<std::string_view, kMaxDim>& labels) {
  const Dictionary& dictionary = instance.dictionary;
  std::array<int, kMaxDim> key{};
  for (std::size_t d = 0; d < info.labels.size(); ++d) {
    key[d] = dictionary.findLabel(labels[d]);
    if (key[d] == 0) return -1;
  }
  return EntryWalk(dictionary, dictionary.findSymbol(info.symbol), key.data()).next();
}

std::string listed(const ChangeInfo& info, const std::array<std::string_view, kMaxDim>& labels) {
  std::string list;
  for (std::size_t d = 0; d < info.labels.size(); ++d) {
    list.append(d == 0 ? "" : ",").append(labels[d]);
  }
  return list;
}

// Says which label no entry has at its position, if it is a label's fault, with a guess.
[[noreturn]] void failUnknown(const Instance& instance, const ChangeInfo& info,
                              const std::array<std::string_view, kMaxDim>& labels) {
  const Dictionary& dictionary = instance.dictionary;
  const std::string where = info.name + ": the model has nothing for ";
  for (std::size_t d = 0; d < info.labels.size(); ++d) {
    contract::NearestWord nearest(labels[d]);
    bool isKnown = false;
    EntryWalk walk(dictionary, dictionary.findSymbol(info.symbol), nullptr);
    for (int column = walk.next(); column >= 0; column = walk.next()) {
      const std::string& label = dictionary.label(dictionary.columns().key(column)[d]);
      isKnown = isKnown || isSameText(label, labels[d]);
      nearest.consider(label);
    }
    if (isKnown) continue;
    throw KitError(where + std::string(labels[d]) + nearest.question());
  }
  throw KitError(where + listed(info, labels));
}

int requireColumn(const Instance& instance, const ChangeInfo& info,
                  std::span<const char* const> given) {
  if (info.column >= 0 && given.empty()) return info.column;
  const auto labels = labelsOf(info, given);
  const int column = columnOf(instance, info, labels);
  if (column < 0) failUnknown(instance, info, labels);
  return column;
}

/// Keeps what a column was before it is changed for the first time.
void noteChange(Instance& instance, int number) {
  const auto column = static_cast<std::size_t>(number);
  if (instance.hasChanged.size() <= column) instance.hasChanged.resize(instance.columns.size());
  if (instance.hasChanged[column] != 0) return;
  instance.changedColumns.push_back(
      {number, instance.columns[column].level, instance.bounds[column]});
  instance.hasChanged[column] = 1;
}

void checkValue(const ChangeInfo& info, double value) {
  const bool isLower = info.action == SetLower;
  const bool isUpper = info.action == SetUpper;
  if (std::abs(value) < kLimitOfNumbers || (isLower && value <= -kInfiniteBound) ||
      (isUpper && value >= kInfiniteBound)) {
    return;
  }
  const bool isFinite = std::abs(value) < kInfiniteBound;
  throw KitError(info.name + " cannot be " + shown(value) +
                 (isFinite ? ": numbers must be less than 1e100 in magnitude" : ""));
}

/// To be changed.
ColumnBounds& boundsOf(Instance& instance, int column) {
  instance.boundLog.note(column, instance.columns.size());
  return instance.bounds[static_cast<std::size_t>(column)];
}

void set(Instance& instance, int column, int action, double value) {
  ColumnBounds& bounds = boundsOf(instance, column);
  if (action != SetUpper) bounds.lower = bounds.altLower = value;
  if (action != SetLower) bounds.upper = bounds.altUpper = value;
  if (action != SetValue) return;
  if (instance.isParameter[static_cast<std::size_t>(column)] == 0) instance.settleColumn(column);
  instance.columns[static_cast<std::size_t>(column)].level = value;
}

void apply(Instance& instance, const Patch& patch) {
  for (const auto& [column, lower, upper] : patch.columns) {
    ColumnBounds& bounds = boundsOf(instance, column);
    bounds.lower = bounds.altLower = lower;
    bounds.upper = bounds.altUpper = upper;
  }
  for (const auto& [column, level] : patch.levels) {
    set(instance, column, SetValue, level);
  }
  for (const auto& [row, rhs] : patch.rhs) instance.rows[static_cast<std::size_t>(row)].rhs = rhs;
  for (const auto& [row, constant] : patch.constants) {
    instance.ownConstants[static_cast<std::size_t>(row)] = constant;
  }
  for (const auto& [row, column, value] : patch.coefficients) {
    instance.terms.setBase(instance.matrix, row, column, value);
  }
}

}  // namespace

bool hasChanged(const Instance& instance, int change, std::span<const char* const> labels) {
  const ChangeInfo& info = infoOf(instance, change);
  return columnOf(instance, info, labelsOf(info, labels)) >= 0;
}

void setChanged(Instance& instance, int change, std::span<const char* const> labels, double value) {
  const ChangeInfo& info = infoOf(instance, change);
  const int column = requireColumn(instance, info, labels);
  checkValue(info, value);
  noteChange(instance, column);
  set(instance, column, info.action, asBound(value));
}

void findNamedColumns(Instance& instance) {
  for (ChangeInfo& info : instance.changes) {
    const bool isEntry = std::find(info.labels.begin(), info.labels.end(), "") == info.labels.end();
    if (isEntry) info.column = columnOf(instance, info, labelsOf(info, {}));
  }
}

void useVariant(Instance& instance, int variant) {
  const auto count = static_cast<int>(instance.variants.size());
  if (variant < -1 || variant >= count) {
    throw KitError("There is no variant " + std::to_string(variant));
  }
  const Variant* wanted =
      variant < 0 ? nullptr : &instance.variants[static_cast<std::size_t>(variant)];
  if (wanted != nullptr && wanted->state != Variant::Fits) throw KitError(wanted->message);
  restoreChanged(instance);
  if (instance.variant >= 0) apply(instance, instance.base);
  instance.variant = variant;
  if (wanted != nullptr) apply(instance, wanted->patch);
}

void restoreChanged(Instance& instance) {
  for (const auto& [number, level, bounds] : instance.changedColumns) {
    boundsOf(instance, number) = bounds;
    const auto column = static_cast<std::size_t>(number);
    if (instance.isParameter[column] != 0) instance.columns[column].level = level;
    instance.hasChanged[column] = 0;
  }
  instance.changedColumns.clear();
}

}  // namespace zdb::kit
