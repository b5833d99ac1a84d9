// zdbcc info: the contents of a data file.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "commands.h"
#include "database.h"
#include "filedirectory.h"
#include "table.h"
#include "values.h"

namespace zdb::tool {

namespace {

struct InfoOptions {
  std::string file;
  bool countRecords = true;
};

/// The row of a symbol; `directory` counts its records, if they are counted.
std::vector<std::string> describe(const Symbol& symbol, int position,
                                  const FileDirectory* directory) {
  std::vector<std::string> row = {symbol.name, typeName(symbol.type), std::to_string(symbol.dim)};
  row.push_back(symbol.isAlias() ? "alias of " + symbol.aliasOf : domainText(symbol));
  if (directory != nullptr) {
    row.push_back(symbol.isAlias() ? "" : std::to_string(directory->recordCount(position)));
  }
  row.push_back(symbol.text);
  return row;
}

bool hasRelaxedDomain(const Symbol& symbol) {
  return std::any_of(symbol.domains.begin(), symbol.domains.end(),
                     [](const Domain& domain) { return domain.relaxed; });
}

std::string counted(int count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

void runInfo(const InfoOptions& options, Console& console) {
  Database db(options.file);
  const int symbolCount = db.symbolCount();
  console.write(printable(options.file) + ": " + counted(db.labelCount(), "label") + ", " +
                counted(symbolCount, "symbol") + '\n');
  if (symbolCount == 0) return;

#ifdef ZDB_HAS_EXCHANGE_FILES
  std::optional<FileDirectory> opened;
  if (options.countRecords) opened.emplace(options.file);
  const FileDirectory* directory = opened ? &*opened : nullptr;
#else
  constexpr const FileDirectory* directory = nullptr;
#endif
  std::vector<Table::Column> columns = {{"symbol"}, {"type"}, {"dim", true}, {"domains"}};
  if (directory != nullptr) columns.push_back({"records", true});
  columns.push_back({"text"});
  Table table(std::move(columns));
  bool explainQuotes = false;
  for (int i = 0; i < symbolCount; ++i) {
    const Symbol symbol = db.symbolAt(i);
    explainQuotes = explainQuotes || hasRelaxedDomain(symbol);
    table.add(describe(symbol, i, directory));
  }
  console.write("\n");
  table.print(console);
  if (explainQuotes)
    console.write("\nA domain in quotes is only a name: the file has no such set.\n");
}

}  // namespace

void addInfo(CLI::App& app, Console& console) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App* command = app.add_subcommand(
      "info",
      "Lists the symbols of a data file: type, dimension, domains, number of records, text");
  command->add_option("FILE", options->file, "Data file to inspect")->required();
  command->add_flag("!--no-counts", options->countRecords, "Leave out the numbers of records");
  command->callback([options, &console] { runInfo(*options, console); });
}

}  // namespace zdb::tool
