// zdbcc dump: the records of one symbol, or of all, as CSV.
#include <algorithm>
#include <set>

#include "contract/names.h"
#include "csvwriter.h"
#include "database.h"
#include "values.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct DumpOptions {
  std::string file;
  std::string symbol;
};

std::vector<std::string> valueColumns(const Symbol& symbol) {
  if (symbol.isUniverse()) return {};
  if (symbol.type == ZDB_SET) return {"text"};
  if (symbol.valueCount() == 1) return {"value"};
  return {"level", "marginal", "lower", "upper", "scale"};
}

/// Key columns have the names of their domains. Programs that read CSV need distinct names, so a
/// second "city" becomes "city_2".
std::vector<std::string> columnNames(const Symbol& symbol) {
  const std::vector<std::string> values = valueColumns(symbol);
  std::set<std::string> used(values.begin(), values.end());
  std::vector<std::string> names;
  for (const Domain& domain : symbol.domains) {
    const std::string wanted = domain.name == "*" ? "label" : printable(domain.name);
    std::string name = wanted;
    for (int n = 2; !used.insert(zdb::contract::lowerCase(name)).second; ++n) {
      name = wanted + '_' + std::to_string(n);
    }
    names.push_back(name);
  }
  names.insert(names.end(), values.begin(), values.end());
  return names;
}

/// Writes symbols of one file.
class Dump {
 public:
  Dump(Database& db, Console& console) : db_(db), console_(console), csv_(console), format_(db) {
    const int count = db.labelCount();
    labels_.resize(static_cast<std::size_t>(count) + 1);
    for (int i = 1; i <= count; ++i) labels_[static_cast<std::size_t>(i)] = db.label(i);
  }

  void one(const Symbol& symbol) {
    RecordCursor record(db_, symbol);  // first, so that there is no heading if this fails
    for (const std::string& name : columnNames(symbol)) csv_.field(name);
    csv_.endRow();
    for (; record.valid(); record.next()) {
      for (int d = 0; d < symbol.dim; ++d) {
        csv_.field(labels_[static_cast<std::size_t>(record.keys()[d])]);
      }
      writeValues(symbol, record);
      csv_.endRow();
    }
  }

  /// Writes each symbol after a line with its name; one that cannot be read does not stop
  /// the others.
  void all() {
    for (int i = 0; i < db_.symbolCount(); ++i) {
      const Symbol symbol = db_.symbolAt(i);
      if (i > 0) console_.write("\n");
      console_.write(comment(symbol));
      if (symbol.isAlias()) continue;
      try {
        one(symbol);
        db_.forgetRecords(symbol);
      } catch (const ToolError& failure) {
        console_.report(failure.what());
      }
    }
  }

 private:
  void writeValues(const Symbol& symbol, RecordCursor& record) {
    if (symbol.isUniverse()) return;
    if (symbol.type == ZDB_SET) return csv_.field(record.text());
    for (int v = 0; v < symbol.valueCount(); ++v) csv_.field(format_(record.values()[v]));
  }

  static std::string comment(const Symbol& symbol) {
    std::string line = std::string("# ") + typeName(symbol.type) + ' ' + symbol.name;
    if (symbol.isAlias()) line += " of " + symbol.aliasOf;
    if (!symbol.domains.empty()) line += '(' + domainText(symbol) + ')';
    if (!symbol.text.empty()) line += ": " + symbol.text;
    return printable(line) + '\n';
  }

  Database& db_;
  Console& console_;
  CsvWriter csv_;
  ValueFormat format_;
  std::vector<std::string> labels_;
};

Symbol findSymbol(Database& db, const DumpOptions& options) {
  try {
    return db.findSymbol(options.symbol);
  } catch (const ToolError& failure) {
    throw ToolError(std::string(failure.what()) + ", see zdbcc info " + options.file);
  }
}

void runDump(const DumpOptions& options, Console& console) {
  Database db(options.file);
  Dump dump(db, console);
  if (options.symbol.empty()) {
    dump.all();
  } else {
    dump.one(findSymbol(db, options));
  }
}

}  // namespace

Verb dumpVerb() {
  return {.name = "dump",
          .summary = "Writes records as CSV",
          .operands = {{.name = "FILE",
                        .kind = Kind::ExchangeFile,
                        .text = "Exchange file to read",
                        .target = into(&DumpOptions::file)},
                       {.name = "SYMBOL",
                        .kind = Kind::Symbol,
                        .text = "Symbol to write, `*` for all labels; without it, all symbols",
                        .target = into(&DumpOptions::symbol),
                        .isOptional = true}},
          .action = runs(runDump)};
}

}  // namespace zdb::tool
