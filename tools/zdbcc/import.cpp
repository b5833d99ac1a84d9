// zdbcc import: CSV files into an exchange file.
#include <algorithm>
#include <filesystem>

#include "importer.h"
#include "outputfile.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

enum class Encoding { Utf8, Latin1 };
enum class Decimal { Point, Comma };
enum class Quotes { Double, None };

struct ImportOptions {
  std::string output;
  std::vector<std::string> specs;
  std::string separator;
  Decimal decimal = Decimal::Point;
  Quotes quotes = Quotes::Double;
  Encoding encoding = Encoding::Utf8;
  bool hasHeading = true;
  std::optional<std::size_t> skip;
  bool trim = false;
  bool checksDomains = true;
  OnMissing missing = OnMissing::Skip;
  OnDuplicate duplicates = OnDuplicate::Last;
  bool strict = false;
  bool force = false;
  bool json = false;
};

char separatorOf(const std::string& word) {
  if (word.empty()) return 0;
  if (word == "tab" || word == "\\t") return '\t';
  if (word == "comma") return ',';
  if (word == "semicolon") return ';';
  const bool isGood = word.size() == 1 && word != "\"" && word != "\n" && word != "\r";
  if (!isGood) throw WrongUseError("--separator is one character, tab, comma or semicolon");
  return word.front();
}

ImportRules rulesOf(const ImportOptions& options) {
  ImportRules rules;
  rules.format.separator = separatorOf(options.separator);
  rules.format.commaIsDecimal = options.decimal == Decimal::Comma;
  rules.format.hasQuotes = options.quotes == Quotes::Double;
  rules.format.isLatin1 = options.encoding == Encoding::Latin1;
  rules.format.trimsBlanks = options.trim;
  rules.hasHeading = options.hasHeading;
  rules.skippedLines = options.skip.value_or(0);
  rules.checksDomains = options.checksDomains;
  rules.onMissing = options.missing;
  rules.onDuplicate = options.duplicates;
  return rules;
}

void addSpecs(const std::string& word, std::vector<ImportSpec>& specs) {
  std::vector<ImportSpec> more;
  if (word.starts_with('@')) {
    more = readSpecs(word.substr(1));
  } else if (std::filesystem::is_directory(word)) {
    const std::filesystem::path file = std::filesystem::path(word) / kSpecFile;
    if (!std::filesystem::exists(file)) {
      throw ToolError(word + " has no " + kSpecFile +
                      ", which zdbcc export writes; name its CSV files instead");
    }
    more = readSpecs(file.string());
  } else {
    more.push_back(parseSpec(word));
  }
  for (ImportSpec& spec : more) specs.push_back(std::move(spec));
}

std::vector<ImportSpec> specsOf(const ImportOptions& options) {
  std::vector<ImportSpec> specs;
  for (const std::string& word : options.specs) addSpecs(word, specs);
  int fromInput = 0;
  for (const ImportSpec& spec : specs) fromInput += !spec.isAlias() && spec.file == "-" ? 1 : 0;
  for (const std::string& word : options.specs) fromInput += word == "@-" ? 1 : 0;
  if (fromInput > 1) throw WrongUseError("only one SPEC can read standard input");
  return specs;
}

/// An input is never written over.
void checkImportOutput(const ImportOptions& options, const std::vector<ImportSpec>& specs) {
  std::error_code missing;
  for (const ImportSpec& spec : specs) {
    if (spec.isAlias() || !std::filesystem::equivalent(options.output, spec.file, missing))
      continue;
    throw ToolError("the output " + options.output + " is an input");
  }
  if (!options.force) checkOutput(options.output, {});
}

void report(const Importer& importer, const ImportOptions& options, Console& console) {
  constexpr const char* kOnEmpty[] = {"left out", "taken as 0", "taken as NA", ""};
  constexpr const char* kOnDuplicate[] = {"of which the last counts", "of which the first counts",
                                          "which were added up", ""};
  for (const SymbolReport& each : importer.reports()) {
    const bool hasDefaults = each.type == ZDB_VARIABLE || each.type == ZDB_EQUATION;
    const bool keepsDefault = hasDefaults && options.missing == OnMissing::Skip;
    print(each, keepsDefault ? "left at the default" : kOnEmpty[static_cast<int>(options.missing)],
          kOnDuplicate[static_cast<int>(options.duplicates)], console);
  }
  if (!options.json) return;
  JsonWriter json(console);
  json.beginObject().field("file", options.output);
  json.field("labels", importer.database().labelCount()).key("symbols").beginArray();
  for (const SymbolReport& each : importer.reports()) write(each, json);
  json.end().end();
}

void writeOutput(const zdbcc::Database& db, const ImportOptions& options) {
  try {
    db.write(options.output, options.checksDomains);
  } catch (const zdbcc::Error& failure) {
    const std::string& reason = failure.reason();
    throw ToolError("cannot write " + options.output + ": " +
                    (reason.empty() ? failure.what() : reason));
  }
}

void runImport(const ImportOptions& options, Console& console) {
  const std::vector<ImportSpec> specs = specsOf(options);
  if (specs.empty()) throw ToolError("there is nothing to import");
  checkImportOutput(options, specs);
  Importer importer(rulesOf(options), specs, console);
  importer.run();
  const bool isClean = std::all_of(importer.reports().begin(), importer.reports().end(),
                                   [](const SymbolReport& each) { return each.isClean(); });
  const bool isKept = isClean || !options.strict;
  if (isKept) writeOutput(importer.database(), options);
  report(importer, options, console);
  if (!isKept) throw ToolError("nothing was written, because of --strict");
}

}  // namespace

Verb importVerb() {
  return {
      .name = "import",
      .summary = "Makes an exchange file of CSV files",
      .details =
          R"(Each SPEC says which columns of a CSV file become a symbol. Put it in quotes: the
shell takes `>` for itself.

    NAME=FILE:LABELS            a set
    NAME=FILE:LABELS->COLUMN    a parameter, or a set with texts if these are no numbers
    NAME=FILE:LABELS->COLUMNS   a parameter from a table with several columns of values
    NAME=FILE                   the last column is the value, all before are labels
    TYPE NAME "TEXT"=...        with a type and an explanatory text

- FILE may be `-` for standard input, and packed by gzip. Comma, semicolon or tab separate its
columns, whichever its first line has most of.
- LABELS are columns, by heading or by number: `origin,#2`. A heading with other characters than
letters, digits, blanks, `_` and `.` is put in quotes: `'Price (USD)'`.
- A label column may have a domain: `origin(airport)` allows the elements of the set `airport` only,
which must be imported before; `origin(airport+)` adds the labels to the set, and makes it if need
be; `origin('airport')` is only a name. Without a domain, the heading is kept as such a name, but
for the elements of sets with one position, or if a symbol has this name; `origin(*)` keeps nothing.
- COLUMNS are several, such as `a,b`, a range `jan..dec`, or `*` for all that are not labels. Their
headings become the labels of a last position, which may have a domain: `jan..dec(month+)`.
- TYPE is `set`, `parameter`, `variable`, `equation` or `alias`. Variables and equations take a number
for their subtype and have columns for their fields: `variable(5) x=x.csv:i->level,lower=min`.
An empty field, and one without a column, has the default of the subtype. `alias city2=city` has
no file.
- The name `*` stands for labels only: `*=airports.csv:iata` in front gives their order and spelling.
- A SPEC may also be a folder that `zdbcc export` wrote, or `@FILE`, a file with a SPEC a line, `@-`
for standard input; lines that begin with # are comments.

Numbers may have blanks around them. `NA` or `NaN`, `Undef`, `Inf`, `-Inf` and `Eps` (an explicit
zero) are special values, in any case. What cannot be read as CSV or as a number, and a row with
another number of fields than the heading, ends the import with its line; the output stays as it was.

A row is refused if a label is blank, has more than 63 bytes, a control character or both kinds of
quotes, or is not in its domain, or if a text has more than 255 bytes. The others are imported, and
the exit code is 1. As labels that differ in case only are the same, later ones get the spelling of
the first one (a city `Ord` turns the airport `ORD` into it); so do texts. All this is
counted on standard error, with the first lines.)",
      .operands = {{.name = "OUT",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to write",
                    .target = into(&ImportOptions::output)},
                   {.name = "SPEC",
                    .kind = Kind::File,
                    .text = "What to import, as described below",
                    .target = into(&ImportOptions::specs)}},
      .options =
          {{.name = "separator",
            .value = "CHAR",
            .text = "What separates fields: a character, `tab`, `comma` or `semicolon`",
            .target = into(&ImportOptions::separator)},
           {.name = "decimal",
            .value = "MARK",
            .kind = Kind::Choice,
            .text = "Decimal mark of numbers",
            .target = into(&ImportOptions::decimal, {"point", "comma"})},
           {.name = "quotes",
            .value = "KIND",
            .kind = Kind::Choice,
            .text = "Quotes around fields",
            .details = "With `none`, they are like other characters.",
            .target = into(&ImportOptions::quotes, {"double", "none"})},
           {.name = "encoding",
            .value = "NAME",
            .kind = Kind::Choice,
            .text = "Encoding of the files",
            .details = "Bytes that are not UTF-8 are kept as they are, and counted.",
            .target = into(&ImportOptions::encoding, {"utf8", "latin1"})},
           {.name = "heading",
            .text = "Files begin with data; columns have numbers only",
            .target = into(&ImportOptions::hasHeading),
            .isNegation = true},
           {.name = "skip",
            .value = "LINES",
            .kind = Kind::Number,
            .text = "Pass over lines before the heading",
            .target = into(&ImportOptions::skip)},
           {.name = "trim",
            .text = "Leave out blanks around fields that are not quoted",
            .target = into(&ImportOptions::trim)},
           {.name = "missing",
            .value = "HOW",
            .kind = Kind::Choice,
            .text = "What an empty field is in a column of numbers",
            .details = "`skip` makes no record of it.",
            .target = into(&ImportOptions::missing, {"skip", "zero", "na", "error"})},
           {.name = "duplicates",
            .value = "WHICH",
            .kind = Kind::Choice,
            .text = "Which of several rows with the same labels counts",
            .target = into(&ImportOptions::duplicates, {"last", "first", "sum", "error"})},
           {.name = "domain-check",
            .text = "Import rows that are outside their domains too",
            .target = into(&ImportOptions::checksDomains),
            .isNegation = true},
           {.name = "strict",
            .text = "Write nothing if a row is refused, or a label or text is changed or not UTF-8",
            .target = into(&ImportOptions::strict)},
           {.name = "force",
            .text = "Write over a file that is not an exchange file",
            .target = into(&ImportOptions::force)},
           jsonOption(&ImportOptions::json)},
      .examples =
          {{"zdbcc import out.zxf 'airport=airports.csv:iata->name' "
            "'flights=flights.csv:origin(airport),destination(airport)->count'",
            "A set with texts, and a parameter over it"},
           {"zdbcc import out.zxf 'jobs \"Employees\"=us.csv:month->nonfarm..government(sector+)'",
            "A table with a column for each sector"},
           {"zdbcc import out.zxf tables/", "A folder that zdbcc export wrote"},
           {"curl -s URL | zdbcc import out.zxf 'price=-:symbol,date->price' --decimal comma",
            "From another program"}},
      .action = runs(runImport)};
}

}  // namespace zdb::tool
