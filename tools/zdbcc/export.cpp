// zdbcc export: symbols of an exchange file as files that other programs read.
#include <algorithm>

#include "exporter.h"
#include "progress.h"
#include "recordtext.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

enum class ExportForm { Auto, Csv, JsonLines, Sqlite, Parquet };

struct ExportOptions {
  std::string file;
  std::vector<std::string> symbols;
  std::string target;
  ExportForm format = ExportForm::Auto;
  std::string duckDb;
  bool force = false;
};

ExportForm formOf(const ExportOptions& options) {
  if (options.format != ExportForm::Auto) return options.format;
  for (const char* ending : {".db", ".sqlite", ".sqlite3"}) {
    if (options.target.ends_with(ending)) return ExportForm::Sqlite;
  }
  return ExportForm::Csv;
}

/// A symbol alone, to standard output.
class OutputExporter : public Exporter {
 public:
  OutputExporter(const ExportJob& job, TextForm form, Output& output)
      : text_(recordText(form, job.file, job.symbols.front(), output)) {}
  void begin(const FileSymbol& /*symbol*/) override { text_->heading(); }
  void record(const FileRecords& record) override { text_->record(record); }
  void end() override {}

 private:
  std::unique_ptr<RecordText> text_;
};

/// The symbols in the order of the file; an alias that is named is its set, unless it goes with
/// this.
std::vector<FileSymbol> chosenSymbols(const ExchangeFile& file, const ExportOptions& options) {
  if (options.symbols.empty()) return file.symbols();
  std::vector<bool> isChosen(file.symbols().size());
  std::vector<FileSymbol> chosen;
  for (const std::string& name : options.symbols) {
    const FileSymbol symbol = file.symbol(name);
    if (symbol.isUniverse()) chosen = {symbol};
    if (!symbol.isUniverse()) isChosen[static_cast<std::size_t>(symbol.number) - 1] = true;
  }
  for (const FileSymbol& symbol : file.symbols()) {
    if (isChosen[static_cast<std::size_t>(symbol.number) - 1]) chosen.push_back(symbol);
  }
  return chosen;
}

/// Domains that become mere names, as their sets stay.
void noteLostDomains(const std::vector<FileSymbol>& symbols, Console& console) {
  for (const FileSymbol& symbol : symbols) {
    for (const Domain& domain : symbol.domains) {
      const bool isThere = std::any_of(symbols.begin(), symbols.end(), [&](const auto& other) {
        return other.name == domain.name;
      });
      if (domain.relaxed || domain.name == "*" || isThere) continue;
      console.note(symbol.name + ": its domain " + domain.name +
                   " is not exported and becomes a mere name");
    }
  }
}

std::unique_ptr<Exporter> makeExporter(const ExportJob& job, const ExportOptions& options,
                                       Console& console) {
  const ExportForm form = formOf(options);
  if (options.target == "-") {
    if (form == ExportForm::Sqlite || form == ExportForm::Parquet) {
      throw WrongUseError("only csv and jsonl go to standard output");
    }
    if (job.symbols.size() != 1 || job.symbols.front().isAlias()) {
      throw WrongUseError("--to - takes one SYMBOL");
    }
    const TextForm text = form == ExportForm::Csv ? TextForm::Csv : TextForm::JsonLines;
    return std::make_unique<OutputExporter>(job, text, console);
  }
  if (job.symbols.size() == 1 && job.symbols.front().isUniverse()) {
    throw WrongUseError("all labels go to standard output only: --to -");
  }
  if (form == ExportForm::Sqlite) return sqliteExporter(job);
  if (form == ExportForm::Parquet) return parquetFolderExporter(job, options.duckDb);
  return form == ExportForm::Csv ? csvFolderExporter(job) : jsonLinesFolderExporter(job);
}

void runExport(const ExportOptions& options, Console& console) {
  constexpr std::uint64_t kSeldom = 4096;
  ExchangeFile file(options.file);
  const std::vector<FileSymbol> symbols = chosenSymbols(file, options);
  std::uint64_t total = 0;
  for (const FileSymbol& symbol : symbols) total += symbol.recordCount;
  Progress progress(console, "records");
  std::uint64_t done = 0;
  const auto count = [&](std::uint64_t records) { progress.update(done += records, total); };
  const ExportJob job{file, symbols, options.target, options.force, count};
  const std::unique_ptr<Exporter> exporter = makeExporter(job, options, console);
  if (options.target != "-" && formOf(options) == ExportForm::Csv) {
    noteLostDomains(symbols, console);
  }
  for (const FileSymbol& symbol : symbols) {
    exporter->begin(symbol);
    if (!symbol.isAlias() && exporter->takesRecords()) {
      FileRecords records(file, symbol);
      while (records.next()) {
        exporter->record(records);
        if (records.done() % kSeldom == 0 && options.target != "-") count(kSeldom);
      }
    }
    exporter->end();
  }
  exporter->finish();
}

}  // namespace

Verb exportVerb() {
  return {
      .name = "export",
      .summary = "Writes symbols as CSV files, JSON lines, a SQLite database or Parquet files",
      .details = R"(A folder gets a file for each symbol, such as `flights.csv`, with the columns
that `zdbcc dump` writes. Memory does not grow with the records.

As CSV, it also gets `_labels.csv`, the labels in their order, and `import.specs`, the SPECs from
which `zdbcc import` makes the same exchange file again: types, texts, domains and aliases. That one
is written last: a folder without it is not complete.

As JSON lines, each record is an object on a line, for other programs; special values are texts, as
`"NA"`.

A SQLite database has a table for each symbol, whose key is all its labels, and a view for each
alias. `_symbols` describes them, and `_labels` has all labels in their order. Infinities are
infinities, `Eps` is 0, and `Undef` and `NA` are `NULL`. The database appears when it is complete.

Parquet files are written by DuckDB's library, if there is one, with the same values; aliases have
none.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to read",
                    .target = into(&ExportOptions::file)},
                   {.name = "SYMBOL",
                    .kind = Kind::Symbol,
                    .text = "Symbols to write; without them, all. For an alias, its set",
                    .target = into(&ExportOptions::symbols),
                    .isOptional = true}},
      .options =
          {{.name = "to",
            .value = "TARGET",
            .kind = Kind::Folder,
            .text = "Folder to write, or SQLite database; `-` writes one symbol to standard output",
            .target = into(&ExportOptions::target),
            .isRequired = true},
           {.name = "format",
            .value = "FORMAT",
            .kind = Kind::Choice,
            .text = "What to write",
            .details = "`auto` is `sqlite` if the name after `--to` ends in `.db`, "
                       "`.sqlite` or `.sqlite3`, else `csv`.",
            .target = into(&ExportOptions::format, {"auto", "csv", "jsonl", "sqlite", "parquet"})},
           {.name = "duckdb",
            .value = "LIBRARY",
            .kind = Kind::File,
            .text = "DuckDB's library, for Parquet",
            .details = "Without it, the one that `ZDBCC_DUCKDB` names, or `libduckdb.so` "
                       "where the system looks for libraries.",
            .target = into(&ExportOptions::duckDb)},
           {.name = "force",
            .text = "Write over files that are there",
            .target = into(&ExportOptions::force)}},
      .examples = {{"zdbcc export flights.zxf --to tables", "All symbols, to import again"},
                   {"zdbcc export flights.zxf city --to - --format jsonl | jq .label",
                    "One symbol, for other programs"},
                   {"zdbcc export flights.zxf --to flights.db", "A SQLite database"},
                   {"zdbcc export flights.zxf --to parquet --format parquet --duckdb "
                    "./libduckdb.so",
                    "Parquet, for DuckDB, polars, pandas and others"}},
      .action = runs(runExport)};
}

}  // namespace zdb::tool
