#include "sweepexchange.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>

#include "console.h"
#include "contract/names.h"
#include "csvscanner.h"
#include "values.h"
#include "zdbcc.hpp"

namespace zdb::tool {

namespace {

constexpr const char* kScenarios = "scenario";
constexpr const char* kObjectives = "objective";
constexpr const char* kIterations = "iterations";
constexpr std::array<const char*, 3> kOwnNames = {kScenarios, kObjectives, kIterations};

/// Cells before the labels of a record: scenario and symbol.
constexpr std::size_t kFirstLabel = 2;
constexpr double kDefaultScale = 1;

CsvFormat ownFormat() {
  CsvFormat format;
  format.separator = ',';
  return format;
}

/// Records of a symbol by the column, as they are put into a database.
class Gathered {
 public:
  Gathered(const zdbcc::Database& db, const SweptSymbol& symbol)
      : symbol_(db.add(symbol.name, symbol.dim + 1, symbol.type, symbol.text,
                       domains(symbol.dim + 1), symbol.userInfo)),
        keys_(static_cast<std::size_t>(symbol.dim) + 1),
        values_(static_cast<std::size_t>(symbol_.valueCount())) {}

  void add(const zdbcc::Database& db, const ValueFormat& format, const CsvScanner& row) {
    keys_[0].push_back(db.addLabel(std::string(row.field(0))));
    for (std::size_t d = 1; d < keys_.size(); ++d) {
      keys_[d].push_back(db.addLabel(std::string(row.field(kFirstLabel + d - 1))));
    }
    const std::size_t first = row.size() - (ZDB_MAX_VALUES - 1);
    for (std::size_t v = 0; v < values_.size(); ++v) {
      const bool isScale = v == ZDB_MAX_VALUES - 1;
      values_[v].push_back(isScale ? kDefaultScale : format.parse(row.field(first + v)).value());
    }
  }

  void put() const {
    zdbx_columns columns = {};
    columns.size = sizeof columns;
    columns.rows = static_cast<std::int64_t>(keys_[0].size());
    for (std::size_t d = 0; d < keys_.size(); ++d) columns.keys[d].data = keys_[d].data();
    for (std::size_t v = 0; v < values_.size(); ++v) columns.values[v].data = values_[v].data();
    symbol_.put(columns);
  }

 private:
  static std::vector<std::string> domains(int dim) {
    std::vector<std::string> names(static_cast<std::size_t>(dim), "*");
    names.front() = kScenarios;
    return names;
  }

  zdbcc::Symbol symbol_;
  std::vector<std::vector<std::int32_t>> keys_;
  std::vector<std::vector<double>> values_;
};

void takeRows(const zdbcc::Database& db, const std::string& file) {
  const ValueFormat format(db.specialValues());
  const zdbcc::Symbol scenarios = db.addSet(kScenarios, 1, "Scenarios, with their statuses");
  const zdbcc::Symbol objectives = db.addParameter(kObjectives, 1, {}, {kScenarios});
  const zdbcc::Symbol iterations = db.addParameter(kIterations, 1, {}, {kScenarios});
  CsvScanner rows(file, ownFormat());
  rows.next();  // the heading
  while (rows.next()) {
    const std::string name(rows.field(0));
    scenarios.setText({name}, std::string(rows.field(1)));
    if (const auto objective = format.parse(rows.field(2))) objectives.set({name}, *objective);
    if (const auto count = format.parse(rows.field(3))) iterations.set({name}, *count);
  }
}

void takeRecords(const zdbcc::Database& db, const std::string& file,
                 const std::vector<SweptSymbol>& symbols) {
  const ValueFormat format(db.specialValues());
  std::map<std::string, Gathered, std::less<>> gathered;
  for (const SweptSymbol& symbol : symbols) gathered.try_emplace(symbol.name, db, symbol);
  CsvScanner rows(file, ownFormat());
  rows.next();  // the heading
  while (rows.next()) gathered.find(rows.field(1))->second.add(db, format, rows);
  for (const auto& [name, symbol] : gathered) symbol.put();
}

}  // namespace

SweptSymbol::SweptSymbol(const zdbcc::Symbol& symbol)
    : name(symbol.name()),
      dim(symbol.dim()),
      type(symbol.type()),
      userInfo(symbol.userInfo()),
      text(symbol.text()) {}

void checkForExchangeFile(const Scenarios& scenarios, const std::vector<SweptSymbol>& symbols) {
  for (const SweptSymbol& symbol : symbols) {
    if (symbol.dim == ZDB_MAX_DIM)
      throw ToolError(symbol.name + " has " + std::to_string(symbol.dim) +
                      " labels, so there is no place for the scenario in an exchange file");
    for (const char* own : kOwnNames) {
      if (zdb::contract::lowerCase(symbol.name) != own) continue;
      throw ToolError("an exchange file of scenarios has a symbol " + symbol.name +
                      " of its own: show that of the model in CSV, with --long");
    }
  }
  const zdbcc::Database db;
  for (std::size_t i = 0; i < scenarios.count(); ++i) {
    try {
      db.addLabel(scenarios.name(i));
    } catch (const zdbcc::Error& failure) {
      throw ToolError(scenarios.place(i) + failure.what());
    }
  }
}

void writeSweepExchangeFile(const std::string& target, const std::string& rows,
                            const std::string& records, const std::vector<SweptSymbol>& symbols) {
  const zdbcc::Database db;
  takeRows(db, rows);
  takeRecords(db, records, symbols);
  db.write(target);
}

}  // namespace zdb::tool
