#include "changes.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>

#include "contract/names.h"
#include "csvreader.h"
#include "entry.h"
#include "values.h"

namespace zdb::tool {

namespace {

void noteUnmatched(Console& console, const std::string& name, int unmatched) {
  if (unmatched == 0) return;
  console.note(name + ": " + std::to_string(unmatched) +
               (unmatched == 1 ? " record is" : " records are") + " not in the model");
}

zdbcc::Database read(const std::string& file) {
  try {
    return zdbcc::Database(file);
  } catch (const zdbcc::Error& failure) {
    throw ToolError("cannot read " + file + ": " + failure.what());
  }
}

/// Where the name ends: a label in brackets or quotes may contain an equals sign.
std::size_t endOfName(std::string_view option) {
  int depth = 0;
  char quote = 0;
  for (std::size_t i = 0; i < option.size(); ++i) {
    const char c = option[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (depth > 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == '[' || c == '(') {
      ++depth;
    } else if (c == ']' || c == ')') {
      --depth;
    } else if (c == '=' && depth <= 0) {
      return i;
    }
  }
  return option.npos;
}

std::string trimmed(std::string_view text) {
  return std::string(zdb::contract::withoutEndingBlanks(zdb::contract::withoutLeadingBlanks(text)));
}

/// The number for a text; none for any text that is not one.
std::optional<double> valueOf(std::string_view text) {
  const std::optional<double> value = readModelValue(text);
  return value && std::isnan(*value) ? std::nullopt : value;
}

[[noreturn]] void failValue(const std::string& place, std::string_view text) {
  throw ToolError(place + '"' + printable(text) + "\" is not a number");
}

}  // namespace

void NamedChanges::takeUpdatable(Model& model, Console& console) const {
  if (dataFile_.empty()) return;
  const zdbcc::Database data = read(dataFile_);
  std::size_t taken = paramCount_;
  for (const zdbcc::Symbol& source : data.symbols()) {
    const std::string name = source.name();
    if (source.type() != ZDB_PARAMETER || !model.hasParameter(name)) continue;
    const zdbcc::Symbol target = model.parameter(name);
    target.copyFrom(source);
    noteUnmatched(console, dataFile_ + ": " + name, model.update(target, ZDB_MISSING_KEEP));
    ++taken;
  }
  if (taken == 0) throw ToolError(dataFile_ + " has no parameter that is updatable in the model");
}

std::string fileOfChange(const std::string& option) {
  const std::size_t end = endOfName(option);
  if (end == option.npos) return "";
  std::string content = trimmed(option.substr(end + 1));
  return valueOf(content) ? "" : content;
}

NamedChanges::NamedChanges(const std::vector<std::string>& options, const std::string& dataFile,
                           const ModelSource& model)
    : dataFile_(dataFile) {
  if (!dataFile.empty()) takeParams(dataFile, paramsOf(model));
  paramCount_ = names_.size();
  for (const std::string& option : options) take(option);
}

void NamedChanges::takeParams(const std::string& file, const std::vector<std::string>& params) {
  if (params.empty()) return;
  const zdbcc::Database data = read(file);
  const double undefined = data.specialValues()[ZDB_SV_UNDEFINED];
  for (const std::string& name : params) {
    const std::optional<zdbcc::Symbol> symbol = data.findSymbol(name);
    if (!symbol || symbol->type() != ZDB_PARAMETER || symbol->size() == 0) continue;
    names_.push_back(name);
    sources_.push_back({file, values_.size(), {}});
    for (const auto& record : symbol->records()) {
      std::vector<std::string> labels;
      labels.reserve(static_cast<std::size_t>(symbol->dim()));
      for (int d = 0; d < symbol->dim(); ++d) labels.emplace_back(record.label(d));
      if (record.value() == undefined) {
        throw ToolError(file + ": " + entryText({name, labels}) + " is undefined");
      }
      values_.push_back({names_.size() - 1, std::move(labels), record.value()});
    }
  }
}

void NamedChanges::take(const std::string& option) {
  const std::size_t end = endOfName(option);
  const std::string name = trimmed(option.substr(0, end));
  const std::string content = end == option.npos ? "" : trimmed(option.substr(end + 1));
  if (name.empty() || content.empty()) {
    throw WrongUseError("--set needs NAME=FILE or NAME=VALUE, not " + printable(option));
  }
  if (std::find(names_.begin() + static_cast<std::ptrdiff_t>(paramCount_), names_.end(), name) !=
      names_.end()) {
    throw WrongUseError("--set " + printable(name) + " is given twice");
  }
  names_.push_back(name);
  sources_.push_back({"", values_.size(), {}});
  if (const std::optional<double> value = valueOf(content)) {
    values_.push_back({names_.size() - 1, {}, *value});
  } else {
    takeFile(content);
  }
}

void NamedChanges::takeFile(const std::string& file) {
  Source& source = sources_.back();
  source.file = file;
  std::error_code failed;
  if (file != "-" && !std::filesystem::exists(file, failed)) {
    throw ToolError("--set " + names_.back() + ": \"" + printable(file) +
                    "\" is neither a number nor a file");
  }
  const std::vector<CsvRow> rows = readCsv(file);
  for (const CsvRow& row : rows) {
    const std::string place = file + ": row " + std::to_string(row.number) + ": ";
    std::vector<std::string> labels = row.fields;
    const std::string text = std::move(labels.back());
    labels.pop_back();
    const std::optional<double> value = valueOf(text);
    // Alone, the row of a symbol without labels is its value.
    const bool mayBeHeading = &row == &rows.front() && (!labels.empty() || rows.size() > 1);
    if (!value && !mayBeHeading) failValue(place, text);
    if (!value) {
      source.heading = std::move(labels);
      source.headingValue = text;
      continue;
    }
    values_.push_back({names_.size() - 1, std::move(labels), *value});
    source.rows.push_back(row.number);
  }
}

std::string NamedChanges::placeOf(std::size_t value) const {
  const Source& source = sources_[values_[value].change];
  if (source.file.empty()) return "--set " + names_[values_[value].change] + ": ";
  if (source.rows.empty()) return source.file + ": ";
  return source.file + ": row " + std::to_string(source.rows[value - source.firstValue]) + ": ";
}

ChangeScenario NamedChanges::scenario() const {
  return {"", values_, [this](std::size_t value) { return placeOf(value); }};
}

/// A first row with the labels of an entry has a misspelt value.
void NamedChanges::checkHeading(std::size_t change, ChangingModel& model) const {
  const Source& source = sources_[change];
  const zdbcc::Database& db = model.model().database();
  if (source.heading.empty() || !model.hasEntry(change, source.heading)) return;
  for (const std::string& label : source.heading) {
    if (label.empty() || !db.findLabel(label)) return;
  }
  failValue(source.file + ": row 1: ", source.headingValue);
}

void NamedChanges::check(ChangingModel& model, Console& console) const {
  for (std::size_t change = 0; change < names_.size(); ++change) {
    checkHeading(change, model);
    const Source& source = sources_[change];
    const std::string& origin = source.file.empty() ? names_[change] : source.file;
    if (model.coverage(change).changed == 0) {
      throw ToolError(origin + " changes nothing: " +
                      (source.rows.empty() ? "it has no values"
                                           : "none of its rows is an entry of " + names_[change]));
    }
    noteUnmatched(console, origin, model.unknownValues(change));
    console.note(model.coverageText(change));
  }
}

}  // namespace zdb::tool
