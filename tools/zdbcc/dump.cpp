// zdbcc dump: the records of a slice, of a symbol, or of all symbols.
#include <algorithm>
#include <limits>
#include <optional>

#include "columns.h"
#include "progress.h"
#include "rowwriter.h"
#include "slice.h"
#include "values.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct DumpOptions {
  std::string file;
  std::string slice;
  std::optional<std::uint64_t> head;
  bool wide = false;
  bool json = false;
  SpecialForm specials = SpecialForm::Names;
};

class Dump {
 public:
  Dump(const DumpOptions& options, Console& console)
      : options_(options),
        head_(options.head.value_or(std::numeric_limits<std::uint64_t>::max())),
        console_(console),
        progress_(console, "records"),
        file_(options.file),
        rows_(console, options.json),
        format_(FileRecords::specials(), options.specials) {}

  void run() {
    if (options_.slice.empty()) return all();
    const Slice slice = readSlice(file_, options_.slice);
    const bool hasRecords = one(slice);
    if (!slice.isWhole && !hasRecords) console_.note(options_.slice + " has no records");
  }

 private:
  /// Whether there were any records.
  bool one(const Slice& slice) {
    total_ = slice.symbol.recordCount;
    if (options_.wide) return wide(slice);
    SliceRecords records(file_, slice);  // first, so that there is no heading if this fails
    std::uint64_t count = 0;
    rows_.table(columnNames(slice.symbol), [&] {
      for (; count < head_ && nextOf(records); ++count) {
        writeLabels(records, slice.symbol.dim);
        writeValues(records.record(), slice.symbol);
        rows_.endRow();
      }
    });
    return count > 0;
  }

  bool nextOf(SliceRecords& records) {
    constexpr std::uint64_t kSeldom = 4096;
    const std::uint64_t done = records.record().done();
    // On a terminal, the records themselves show the progress.
    if (done % kSeldom == 0 && !console_.terminal().hasOutput) progress_.update(done, total_);
    return records.next();
  }

  void writeLabels(const SliceRecords& records, int count) {
    for (int d = 0; d < count; ++d) rows_.text(file_.label(records.record().keys()[d]));
  }

  void writeValues(const FileRecords& record, const FileSymbol& symbol) {
    if (symbol.isUniverse()) return;
    if (symbol.type == ZDB_SET) return rows_.text(record.text());
    for (int v = 0; v < symbol.valueCount(); ++v) rows_.number(record.values()[v], format_);
  }

  /// A column for each label of the last position. Two passes: the first finds these labels.
  bool wide(const Slice& slice) {
    const FileSymbol& symbol = slice.symbol;
    if (symbol.type == ZDB_SET || symbol.dim == 0) {
      throw ToolError("--wide needs values over labels, but " + symbol.name + " is " +
                      (symbol.type == ZDB_SET ? "a set" : "a single value"));
    }
    const std::vector<int> columns = lastLabels(slice);
    std::vector<std::string> names = columnNames(symbol);
    names.resize(static_cast<std::size_t>(symbol.dim) - 1);
    for (const int label : columns) names.emplace_back(file_.label(label));
    SliceRecords records(file_, slice);
    rows_.table(names, [&] {
      bool isLeft = nextOf(records);
      for (std::uint64_t count = 0; isLeft && count < head_; ++count) {
        isLeft = wideRow(records, symbol.dim - 1, columns);
      }
    });
    return !columns.empty();
  }

  std::vector<int> lastLabels(const Slice& slice) {
    std::vector<bool> isUsed(static_cast<std::size_t>(file_.labelCount()) + 1);
    SliceRecords records(file_, slice);
    while (nextOf(records)) {
      isUsed[static_cast<std::size_t>(records.record().keys()[slice.symbol.dim - 1])] = true;
    }
    std::vector<int> labels;
    for (std::size_t i = 1; i < isUsed.size(); ++i) {
      if (isUsed[i]) labels.push_back(static_cast<int>(i));
    }
    return labels;
  }

  /// Writes the records that agree in all labels but the last; false if there are no more.
  bool wideRow(SliceRecords& records, int last, const std::vector<int>& columns) {
    const int* keys = records.record().keys();
    const std::vector<int> row(keys, keys + last);
    writeLabels(records, last);
    bool isLeft = true;
    bool isInRow = true;
    for (const int label : columns) {
      if (!isInRow || keys[last] != label) {
        rows_.nothing();
        continue;
      }
      rows_.number(records.record().values()[0], format_);
      isLeft = nextOf(records);
      isInRow = isLeft && std::equal(row.begin(), row.end(), keys);
    }
    rows_.endRow();
    return isLeft;
  }

  /// Writes each symbol with its name; one that cannot be read does not stop the others.
  void all() {
    if (options_.json) rows_.json().beginObject();
    for (const FileSymbol& symbol : file_.symbols()) {
      options_.json ? void(rows_.json().key(symbol.name)) : writeComment(symbol);
      if (!symbol.isAlias()) {
        tryOne(symbol);
      } else if (options_.json) {
        rows_.json()
            .beginObject(JsonWriter::Layout::OneLine)
            .field("aliasOf", symbol.aliasOf)
            .end();
      }
    }
    if (options_.json) rows_.json().end();
  }

  void tryOne(const FileSymbol& symbol) {
    try {
      one({symbol});
    } catch (const OutputError&) {
      throw;
    } catch (const ToolError& failure) {
      if (options_.json && rows_.json().waitsForValue()) rows_.json().null();
      console_.report(failure.what());
    }
  }

  void writeComment(const FileSymbol& symbol) {
    std::string line = std::string("# ") + typeName(symbol.type) + ' ' + symbol.name;
    if (symbol.isAlias()) line += " of " + symbol.aliasOf;
    if (!symbol.domains.empty()) line += '(' + domainText(symbol) + ')';
    if (!symbol.text.empty()) line += ": " + symbol.text;
    if (symbol.number > 1) console_.write("\n");
    console_.write(printable(line) + '\n');
  }

  const DumpOptions& options_;
  std::uint64_t head_;  ///< rows of each symbol
  Console& console_;
  Progress progress_;
  std::uint64_t total_ = 0;  ///< records of the symbol at hand
  ExchangeFile file_;
  RowWriter rows_;
  ValueFormat format_;
};

void runDump(const DumpOptions& options, Console& console) {
  if (options.wide && options.slice.empty()) throw WrongUseError("--wide needs a SLICE");
  Dump(options, console).run();
}

}  // namespace

Verb dumpVerb() {
  return {
      .name = "dump",
      .summary = "Writes records to standard output, as CSV or JSON",
      .details =
          R"(Writes the records of a slice, of a symbol or of all symbols, in the order of their
keys and as they are read: memory does not grow with them. The case of names and labels does not
matter; for an alias, the records of its set are written.

- The heading has the names of the domains, with `label` for `*`. A name that would occur twice gets
a number: `city,city_2,value`.
- The values follow: `text` for sets, `value` for parameters, and `level,marginal,lower,upper,scale`
for variables and equations.
- Numbers are as short as possible while reading back as the same double.
- A field that contains a comma, a quote or a line break, begins or ends with a blank, or begins with
`#` is quoted; quotes in it are doubled.

Without a slice, all symbols are written, separated by blank lines. A line before each describes it;
an alias has only this line:

    # parameter need(nutrient): What one adult needs a day

A damaged symbol ends where the damage begins, with a message; the others are written, and the exit
code is 1.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to read",
                    .target = into(&DumpOptions::file)},
                   {.name = "SLICE",
                    .kind = Kind::Slice,
                    .text = "Symbol, `*` for all labels, or part of a symbol: "
                            "`flow(ATL,*)` or `flow[ATL,*]`, with quotes around a label that has "
                            "commas, brackets or quotes. Without it, all symbols",
                    .target = into(&DumpOptions::slice),
                    .isOptional = true}},
      .options = {{.name = "head",
                   .value = "N",
                   .kind = Kind::Number,
                   .text = "Write the first N rows, of each symbol",
                   .target = into(&DumpOptions::head)},
                  {.name = "wide",
                   .text = "Make a column of each label of the last position",
                   .details = "For variables and equations, it has the level.",
                   .target = into(&DumpOptions::wide)},
                  {.name = "specials",
                   .value = "HOW",
                   .kind = Kind::Choice,
                   .text = "How to write special values",
                   .details =
                       "`names` are `Undef`, `NA`, `+Inf`, `-Inf`, and `Eps` for an explicit "
                       "zero; `numbers` are `nan`, `nan`, `inf`, `-inf` and 0; `empty` "
                       "leaves the field empty.",
                   .target = into(&DumpOptions::specials, {"names", "numbers", "empty"})},
                  jsonOption(&DumpOptions::json)},
      .examples = {{"zdbcc dump flights.zxf city | head", "The first records of a symbol"},
                   {"zdbcc dump flights.zxf 'flow(ATL,*)'", "What begins with a label"},
                   {"zdbcc dump flights.zxf distance --wide > distance.csv",
                    "A matrix, for a "
                    "spreadsheet"},
                   {"zdbcc dump flights.zxf limit --json | jq '.[].value'", "For other programs"}},
      .action = runs(runDump)};
}

}  // namespace zdb::tool
