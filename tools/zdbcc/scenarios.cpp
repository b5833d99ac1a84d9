#include "scenarios.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

#include "console.h"
#include "contract/names.h"
#include "csvscanner.h"
#include "values.h"

namespace zdb::tool {

namespace {

constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
/// Devices and pipes may never end.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;
constexpr int kHeadingRow = 1;

std::string quoted(std::string_view text) {
  return '"' + printable(text) + '"';
}

/// Whether a separator within brackets has ended a heading too early.
bool isCutOff(std::string_view heading) {
  const auto opening = heading.find_first_of("[(");
  return opening != heading.npos && heading.find_first_of("])", opening) == heading.npos;
}

}  // namespace

Scenarios::Scenarios(const std::string& file) : file_(file) {
  CsvFormat format;
  format.trimsBlanks = true;
  CsvScanner csv(file, format);
  separator_ = csv.separator();
  std::vector<std::string_view> fields;
  for (int row = kHeadingRow; csv.next(); ++row) {
    fields.clear();
    for (std::size_t i = 0; i < csv.size(); ++i) fields.push_back(csv.field(i));
    row == kHeadingRow ? takeHeading(fields) : takeRow(fields, row);
    if (csv.source().done() > kMostBytes) {
      throw ToolError(file + " has more than 1 GiB, which is too much");
    }
  }
  if (names_.empty())
    throw ToolError(file + " has no scenarios: write a heading and at least one row");
  requireNames();
  requireValues();
}

void Scenarios::takeHeading(const std::vector<std::string_view>& fields) {
  headings_.assign(fields.begin() + 1, fields.end());
  for (std::size_t i = 0; i < headings_.size(); ++i) {
    const std::string& heading = headings_[i];
    if (heading.empty()) {
      throw ToolError(file_ + ": row 1: column " + std::to_string(i + 2) +
                      " has no heading: name what changes, or take the column out");
    }
    if (separator_ != ',' || !isCutOff(heading)) continue;
    throw ToolError(file_ + ": row 1: " + quoted(heading) +
                    " is a part of a name: put names with commas in double quotes");
  }
  if (!headings_.empty()) return;
  throw ToolError(file_ + ": row 1: the heading " + quoted(fields.front()) +
                  " has no column of values: write a name, then what changes, with a comma, "
                  "semicolon or tab before each");
}

void Scenarios::takeRow(const std::vector<std::string_view>& fields, int row) {
  names_.emplace_back(fields.front());
  const std::string place = file_ + ": row " + std::to_string(row) + ": ";
  if (fields.size() != headings_.size() + 1) {
    throw ToolError(place + counted(fields.size(), "field") + ", but the heading has " +
                    std::to_string(headings_.size() + 1));
  }
  for (std::size_t c = 1; c < fields.size(); ++c) {
    try {
      values_.push_back(valueOf(fields[c]));
    } catch (const ToolError& failure) {
      throw ToolError(place + headings_[c - 1] + ": " + failure.what());
    }
  }
}

double Scenarios::valueOf(std::string_view text) const {
  if (text.empty()) return kEmpty;
  const std::optional<double> value = readModelValue(text);
  if (value && !std::isnan(*value)) return *value;
  if (value) throw ToolError(std::string(text) + " is not a value that a model can have");
  const bool hasDecimalComma = separator_ != ',' &&
                               std::count(text.begin(), text.end(), ',') == 1 &&
                               text.find_first_not_of("+-0123456789,eE") == std::string_view::npos;
  throw ToolError(quoted(text) + " is not a number" +
                  (hasDecimalComma ? ": write a point before its decimals" : ""));
}

void Scenarios::requireNames() const {
  std::unordered_map<std::string, std::size_t> known;
  for (std::size_t i = 0; i < count(); ++i) {
    const std::string& name = names_[i];
    if (name.empty()) throw ToolError(place(i) + "the scenario has no name");
    if (printable(name) != name)
      throw ToolError(place(i) + quoted(name) + " has a line break or another control character");
    const auto [first, isNew] = known.emplace(zdb::contract::lowerCase(name), i);
    if (isNew) continue;
    throw ToolError(place(i) + "there is a scenario " + names_[first->second] +
                    " already, in row " + std::to_string(first->second + kHeadingRow + 1));
  }
}

void Scenarios::requireValues() const {
  for (std::size_t c = 0; c < headings_.size(); ++c) {
    std::size_t scenario = 0;
    while (scenario < count() && !value(scenario, c)) ++scenario;
    if (scenario == count())
      throw ToolError(file_ + ": the column " + headings_[c] + " changes nothing: it is empty");
  }
}

std::optional<double> Scenarios::value(std::size_t scenario, std::size_t column) const {
  const double value = values_[scenario * headings_.size() + column];
  return std::isnan(value) ? std::nullopt : std::optional(value);
}

std::string Scenarios::place(std::size_t scenario) const {
  return file_ + ": row " + std::to_string(scenario + kHeadingRow + 1) + ": ";
}

}  // namespace zdb::tool
