#include "solution.h"

#include <algorithm>
#include <fstream>

#include "csvwriter.h"
#include "entry.h"
#include "lookup.h"
#include "table.h"
#include "values.h"

namespace zdb::tool {

namespace {

using Record = zdbcc::Records::Record;

constexpr const char* kAnyLabel = "*";

// Of a record, in this order; a parameter has the first of them only.
struct Field {
  const char* name;
  int which;
};
constexpr Field kFields[] = {
    {"level", ZDB_LEVEL}, {"marginal", ZDB_MARGINAL}, {"lower", ZDB_LOWER}, {"upper", ZDB_UPPER}};

zdbcc::Records recordsOf(const Shown& shown) {
  if (shown.labels.empty()) return shown.symbol.records();
  zdbcc::Key key({});
  for (const std::string& label : shown.labels) {
    key.add(label == kAnyLabel ? ZDB_ANY_LABEL : label.c_str());
  }
  return shown.symbol.records(key);
}

bool isOfSolution(const zdbcc::Symbol& symbol) {
  return symbol.type() == ZDB_VARIABLE || symbol.type() == ZDB_EQUATION;
}

void writeNumber(double value, ValueFormat& format, JsonWriter& json) {
  if (const std::optional<double> plain = format.number(value)) {
    json.value(*plain);
  } else {
    json.value(format(value));
  }
}

void writeRecord(const zdbcc::Symbol& symbol, const Record& record, ValueFormat& format,
                 JsonWriter& json) {
  json.beginObject(JsonWriter::Layout::OneLine).field("symbol", symbol.name());
  json.key("labels").beginArray(JsonWriter::Layout::OneLine);
  for (int d = 0; d < symbol.dim(); ++d) json.value(record.label(d));
  json.end();
  for (const Field& field : kFields) {
    if (field.which >= symbol.valueCount()) break;
    json.key(field.name);
    writeNumber(record.value(field.which), format, json);
  }
  json.end();
}

}  // namespace

Shown readShown(const zdbcc::Database& db, const std::string& text) {
  const Entry entry = parseEntry(text);
  Shown shown = {requireSymbol(db, entry.symbol), entry.labels};
  if (shown.labels.empty()) return shown;
  requireLabelCount(shown.symbol, shown.labels);
  std::vector<std::string> labels = shown.labels;
  std::erase(labels, kAnyLabel);
  requireLabels(db, labels);
  zdbcc::Records records = recordsOf(shown);
  if (records.begin() == records.end()) {
    throw ToolError("the model has no entry " + printable(text));
  }
  return shown;
}

void printShown(const Shown& shown, const zdbcc::Database& db, Console& console) {
  ValueFormat format(db.specialValues());
  const int dim = shown.symbol.dim();
  const bool hasMarginal = shown.symbol.valueCount() > ZDB_MARGINAL;
  std::vector<Table::Column> columns = {{shown.symbol.name()}};
  for (int d = 1; d < dim; ++d) columns.push_back({""});
  columns.push_back({"level", true});
  if (hasMarginal) columns.push_back({"marginal", true});
  Table table(columns);
  for (const Record& record : recordsOf(shown)) {
    std::vector<std::string> row;
    row.reserve(columns.size());
    for (int d = 0; d < dim; ++d) row.emplace_back(record.label(d));
    if (dim == 0) row.emplace_back();
    row.push_back(format.tenDigits(record.value(ZDB_LEVEL)));
    if (hasMarginal) row.push_back(format.tenDigits(record.value(ZDB_MARGINAL)));
    table.add(row);
  }
  table.print(console);
}

void writeShown(const std::vector<Shown>& shown, const zdbcc::Database& db, JsonWriter& json) {
  ValueFormat format(db.specialValues());
  json.beginArray();
  for (const Shown& each : shown) {
    for (const Record& record : recordsOf(each)) writeRecord(each.symbol, record, format, json);
  }
  json.end();
}

std::vector<std::string> solutionColumns(int width) {
  std::vector<std::string> columns = {"symbol"};
  for (int d = 1; d <= width; ++d) columns.push_back("label" + std::to_string(d));
  for (const Field& field : kFields) columns.emplace_back(field.name);
  return columns;
}

void writeSolutionRows(const Shown& shown, const std::string* scenario, int width,
                       ValueFormat& format, CsvWriter& csv) {
  const std::string name = shown.symbol.name();
  const int dim = shown.symbol.dim();
  for (const Record& record : recordsOf(shown)) {
    if (scenario != nullptr) csv.field(*scenario);
    csv.field(name);
    for (int d = 0; d < width; ++d) csv.field(d < dim ? record.label(d) : "");
    for (const Field& field : kFields) {
      csv.field(field.which < shown.symbol.valueCount() ? format(record.value(field.which)) : "");
    }
    csv.endRow();
  }
}

void writeSolutionTable(const zdbcc::Database& db, Output& output) {
  ValueFormat format(db.specialValues());
  CsvWriter csv(output);
  int width = 0;
  for (const zdbcc::Symbol& symbol : db.symbols()) {
    if (isOfSolution(symbol)) width = std::max(width, symbol.dim());
  }
  for (const std::string& column : solutionColumns(width)) csv.field(column);
  csv.endRow();
  for (const zdbcc::Symbol& symbol : db.symbols()) {
    if (isOfSolution(symbol)) writeSolutionRows({symbol, {}}, nullptr, width, format, csv);
  }
}

bool isSolutionTable(const std::string& file) {
  std::string begin(1024, '\0');  // longer than the longest heading
  std::ifstream stream(file, std::ios::binary);
  stream.read(begin.data(), static_cast<std::streamsize>(begin.size()));
  const std::string line = begin.substr(0, begin.find('\n'));
  return line.starts_with("symbol,") && line.ends_with(",level,marginal,lower,upper");
}

}  // namespace zdb::tool
