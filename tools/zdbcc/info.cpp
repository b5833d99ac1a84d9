// zdbcc info: the contents of an exchange file.
#include <algorithm>

#include "exchangefile.h"
#include "json.h"
#include "table.h"
#include "values.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct InfoOptions {
  std::string file;
  bool countsRecords = true;
  bool json = false;
};

/// What the records would take as plain numbers: 4 bytes a label, 8 a value or the 4 of a text.
std::uint64_t plainSize(const FileSymbol& symbol) {
  const auto values = static_cast<std::uint64_t>(symbol.valueCount());
  const std::uint64_t valueSize = symbol.type == ZDB_SET ? 4 : 8 * values;
  return symbol.recordCount * (4 * static_cast<std::uint64_t>(symbol.dim) + valueSize);
}

double quotient(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

std::string fixed(double number, const char* unit) {
  char text[48];
  std::snprintf(text, sizeof text, "%.1f%s", number, unit);
  return text;
}

std::vector<std::string> row(const FileSymbol& symbol, const ExchangeFile& file,
                             bool countsRecords) {
  std::vector<std::string> cells = {symbol.name, typeName(symbol.type), std::to_string(symbol.dim)};
  cells.push_back(symbol.isAlias() ? "alias of " + symbol.aliasOf : domainText(symbol));
  if (countsRecords && symbol.isAlias()) cells.insert(cells.end(), 4, "");
  if (countsRecords && !symbol.isAlias()) {
    cells.push_back(std::to_string(symbol.recordCount));
    cells.push_back(std::to_string(symbol.size));
    cells.push_back(fixed(100 * quotient(symbol.size, file.size()), " %"));
    const bool isEmpty = symbol.recordCount == 0;
    cells.push_back(isEmpty ? "" : fixed(quotient(plainSize(symbol), symbol.size), ""));
  }
  cells.push_back(symbol.text);
  return cells;
}

bool hasRelaxedDomain(const FileSymbol& symbol) {
  return std::any_of(symbol.domains.begin(), symbol.domains.end(),
                     [](const Domain& domain) { return domain.relaxed; });
}

void printTable(const ExchangeFile& file, bool countsRecords, Console& console) {
  console.write(
      printable(file.name()) + ": " + counted(static_cast<unsigned>(file.labelCount()), "label") +
      ", " + counted(file.symbols().size(), "symbol") + ", " + counted(file.size(), "byte") + '\n');
  if (file.symbols().empty()) return;
  std::vector<Table::Column> columns = {{"symbol"}, {"type"}, {"dim", true}, {"domains"}};
  if (countsRecords) {
    for (const char* heading : {"records", "bytes", "share", "ratio"}) {
      columns.push_back({heading, true});
    }
  }
  columns.push_back({"text"});
  Table table(std::move(columns));
  for (const FileSymbol& symbol : file.symbols()) table.add(row(symbol, file, countsRecords));
  console.write("\n");
  table.print(console);
  if (std::any_of(file.symbols().begin(), file.symbols().end(), hasRelaxedDomain))
    console.write("\nA domain in quotes is only a name: the file has no such set.\n");
}

void writeDomains(const FileSymbol& symbol, JsonWriter& json) {
  json.key("domains").beginArray();
  for (const Domain& domain : symbol.domains) {
    json.beginObject().field("name", domain.name).field("relaxed", domain.relaxed).end();
  }
  json.end();
}

void writeJson(const ExchangeFile& file, bool countsRecords, Console& console) {
  JsonWriter json(console);
  json.beginObject().field("file", file.name()).field("bytes", file.size());
  json.field("producer", file.producer()).field("labels", file.labelCount());
  json.key("symbols").beginArray();
  for (const FileSymbol& symbol : file.symbols()) {
    json.beginObject(JsonWriter::Layout::OneLine).field("name", symbol.name);
    json.field("type", typeName(symbol.type)).field("text", symbol.text);
    if (symbol.isAlias()) {
      json.field("aliasOf", symbol.aliasOf).end();
      continue;
    }
    json.field("dimension", symbol.dim);
    writeDomains(symbol, json);
    if (countsRecords) {
      json.field("records", symbol.recordCount).field("bytes", symbol.size);
      json.field("plainBytes", plainSize(symbol));
    }
    json.end();
  }
  json.end().end();
}

void runInfo(const InfoOptions& options, Console& console) {
  const ExchangeFile file(options.file);
  if (options.json) return writeJson(file, options.countsRecords, console);
  printTable(file, options.countsRecords, console);
}

}  // namespace

Verb infoVerb() {
  return {
      .name = "info",
      .summary = "Lists the symbols of an exchange file: type, domains, records, size, text",
      .details = R"(Symbols are listed in the order of the file. Everything comes from the file's
directory: no records are read, so a large file takes no longer than a small one, but damage among
the records goes unnoticed (`zdbcc check` finds it).

- The domains of a symbol are the sets that its labels come from, one per dimension. `*` is the set
of all labels. A domain in quotes is relaxed: it is only a name, and the file has no such set.
- An alias has no records of its own; the table shows its set.
- `bytes` is the size of the records in the file, `share` their part of the whole file, and `ratio`
how many times larger they would be as plain numbers: 4 bytes for a label or text, 8 for a value.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to look at",
                    .target = into(&InfoOptions::file)}},
      .options = {{.name = "counts",
                   .text = "Leave out the numbers of records and what follows from them",
                   .target = into(&InfoOptions::countsRecords),
                   .isNegation = true},
                  jsonOption(&InfoOptions::json)},
      .examples = {{"zdbcc info flights.zxf", "What a file holds"},
                   {"zdbcc info flights.zxf --json | jq '.symbols[].name'",
                    "The names of the symbols"}},
      .action = runs(runInfo)};
}

}  // namespace zdb::tool
