#include "changes.h"

#include "csvreader.h"
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

/// Whether a first row that does not end in a number is a misspelt value, not a heading. For a
/// scalar, which has no labels, a heading is a row that is followed by another.
bool isMeantForAnEntry(Model& model, const zdbcc::Symbol& target, const CsvRow& row,
                       std::size_t rows) {
  return target.dim() == 0 ? rows == 1 : model.hasEntry(target, row.fields);
}

}  // namespace

void takeDataFile(Model& model, const std::string& file, Console& console) {
  const zdbcc::Database data = read(file);
  int taken = 0;
  for (const zdbcc::Symbol& source : data.symbols()) {
    const std::string name = source.name();
    if (source.type() != ZDB_PARAMETER || !model.hasParameter(name)) continue;
    const zdbcc::Symbol target = model.parameter(name);
    target.copyFrom(source);
    std::string place = file;
    place.append(": ").append(name);
    noteUnmatched(console, place, model.update(target, ZDB_MISSING_KEEP));
    ++taken;
  }
  if (taken == 0) throw ToolError(file + " has no parameter that is updatable in the model");
}

void takeCsv(Model& model, const std::string& option, Console& console) {
  const auto equals = option.find('=');
  if (equals == std::string::npos)
    throw WrongUseError("--set needs SYMBOL=FILE, not " + printable(option));
  const std::string file = option.substr(equals + 1);
  const zdbcc::Symbol target = model.parameter(option.substr(0, equals));
  const ValueFormat format(model.database().specialValues());
  std::vector<CsvRow> rows = readCsv(file);
  bool isFirst = true;
  for (CsvRow& row : rows) {
    const std::string place = file + ": row " + std::to_string(row.number) + ": ";
    const std::string text = row.fields.back();
    const auto value = format.parse(text);
    row.fields.pop_back();
    const bool isHeading = isFirst && !value && !isMeantForAnEntry(model, target, row, rows.size());
    isFirst = false;
    if (isHeading) continue;
    if (!value) throw ToolError(place + '"' + printable(text) + "\" is not a number");
    try {
      model.set(target, row.fields, *value);
    } catch (const std::runtime_error& failure) {
      throw ToolError(place + failure.what());
    }
  }
  noteUnmatched(console, file, model.update(target, ZDB_MISSING_KEEP));
}

}  // namespace zdb::tool
