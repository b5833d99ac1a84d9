#include "kit/modelfile/difference.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kit/modelfile/plan.h"

namespace zdb::kit::modelfile {

namespace {

std::string counts(const FileModel& model) {
  return std::to_string(model.rows.size()) + " rows and " + std::to_string(model.columns.size()) +
         " columns";
}

// A range whose bounds meet is still a range with a slack.
bool isSameType(const FileRow& row, const FileRow& variant) {
  const bool haveLower = std::isfinite(row.lower) == std::isfinite(variant.lower);
  const bool haveUpper = std::isfinite(row.upper) == std::isfinite(variant.upper);
  return haveLower && haveUpper && (isRange(row) || !isRange(variant));
}

std::string structureOf(const FileModel& model, const FileModel& variant) {
  if (model.rows.size() != variant.rows.size() || model.columns.size() != variant.columns.size()) {
    return "it has " + counts(variant) + ", not " + counts(model);
  }
  for (std::size_t i = 0; i < model.rows.size(); ++i) {
    const FileRow& row = model.rows[i];
    if (row.name != variant.rows[i].name) {
      return "it has a row " + variant.rows[i].name + " in place of " + row.name;
    }
    if (!isSameType(row, variant.rows[i])) return "its row " + row.name + " is of another type";
  }
  for (std::size_t j = 0; j < model.columns.size(); ++j) {
    const FileColumn& column = model.columns[j];
    if (column.name != variant.columns[j].name) {
      return "it has a column " + variant.columns[j].name + " in place of " + column.name;
    }
    if (column.isInteger != variant.columns[j].isInteger) {
      return "its column " + column.name + " is of another type";
    }
  }
  const bool isSameObjective = model.objectiveName == variant.objectiveName &&
                               model.objectiveRow == variant.objectiveRow &&
                               model.maximize == variant.maximize;
  return isSameObjective ? "" : "it has another objective";
}

auto placeOf(const FileCoefficient& term) {
  return std::pair(term.row, term.column);
}

bool isBefore(const FileCoefficient& a, const FileCoefficient& b) {
  return placeOf(a) < placeOf(b);
}

std::vector<FileCoefficient> sorted(std::vector<FileCoefficient> terms) {
  if (!std::is_sorted(terms.begin(), terms.end(), isBefore)) {
    std::sort(terms.begin(), terms.end(), isBefore);
  }
  return terms;
}

// One pass over both lists by place.
void compareCoefficients(const FileModel& model, const FileModel& variant, Difference& difference) {
  const std::vector<FileCoefficient> own = sorted(model.coefficients);
  const std::vector<FileCoefficient> others = sorted(variant.coefficients);
  auto a = own.begin();
  auto b = others.begin();
  while (a != own.end() || b != others.end()) {
    const bool isGone = b == others.end() || (a != own.end() && isBefore(*a, *b));
    const bool isNew = !isGone && (a == own.end() || isBefore(*b, *a));
    if (isGone) difference.coefficients.push_back({a->row, a->column, 0.0});
    if (isNew || (!isGone && a->value != b->value)) difference.coefficients.push_back(*b);
    if (!isNew) ++a;
    if (!isGone) ++b;
  }
}

}  // namespace

Difference compareModels(const FileModel& model, const FileModel& variant) {
  Difference difference;
  difference.structure = structureOf(model, variant);
  if (!difference.structure.empty()) return difference;
  for (std::size_t i = 0; i < model.rows.size(); ++i) {
    const FileRow& row = variant.rows[i];
    if (row.lower == model.rows[i].lower && row.upper == model.rows[i].upper) continue;
    difference.rows.push_back(static_cast<int>(i) + 1);
    difference.rowBounds.push_back({"", row.lower, row.upper});
  }
  for (std::size_t j = 0; j < model.columns.size(); ++j) {
    const FileColumn& column = variant.columns[j];
    if (column.lower == model.columns[j].lower && column.upper == model.columns[j].upper) continue;
    difference.columns.push_back(static_cast<int>(j) + 1);
    difference.columnBounds.push_back({"", column.lower, column.upper, column.isInteger});
  }
  compareCoefficients(model, variant, difference);
  difference.hasConstant = model.objectiveConstant != variant.objectiveConstant;
  difference.objectiveConstant = variant.objectiveConstant;
  return difference;
}

}  // namespace zdb::kit::modelfile
