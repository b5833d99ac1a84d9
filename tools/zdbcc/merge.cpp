// zdbcc merge: the data of several exchange files in one.
#include <algorithm>
#include <bit>
#include <deque>
#include <map>

#include "contract/names.h"
#include "entry.h"
#include "json.h"
#include "newfile.h"
#include "outputfile.h"
#include "progress.h"
#include "table.h"
#include "values.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

enum class OnConflict { Error, A, B, Sum };

struct MergeOptions {
  std::vector<std::string> files;
  std::string output;
  OnConflict onConflict = OnConflict::Error;
  bool force = false;
  bool json = false;
};

/// A symbol in one of the files.
struct Source {
  std::size_t file;
  FileSymbol symbol;
};

struct MergedSymbol {
  std::vector<Source> sources;  ///< in the order of the files
  std::uint64_t records = 0;
  std::uint64_t shared = 0;  ///< records that more than one file has
  std::uint64_t conflicts = 0;

  const FileSymbol& first() const { return sources.front().symbol; }
};

/// The sum of two values. A special value outweighs any number: Undef most, then NA, then an
/// infinity; two different infinities have no sum. Eps is a zero, unless both are it.
class Adder {
 public:
  double operator()(double a, double b) const {
    const auto& [undef, na, plus, minus, eps] = FileRecords::specials();
    for (const double strong : {undef, na}) {
      if (is(a, strong) || is(b, strong)) return strong;
    }
    const bool hasPlus = is(a, plus) || is(b, plus);
    const bool hasMinus = is(a, minus) || is(b, minus);
    if (hasPlus && hasMinus) return undef;
    if (hasPlus) return plus;
    if (hasMinus) return minus;
    if (is(a, eps)) return b;
    return is(b, eps) ? a : a + b;
  }

 private:
  static bool is(double value, double special) {
    return std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(special);
  }
};

std::string typeText(const FileSymbol& symbol) {
  if (symbol.isAlias()) return "an alias of " + symbol.aliasOf;
  const bool isEquation = symbol.type == ZDB_EQUATION;
  return std::string(isEquation ? "an " : "a ") + typeName(symbol.type) + " of dimension " +
         std::to_string(symbol.dim);
}

bool isSameText(std::string_view a, std::string_view b) {
  return zdb::contract::isSameText(a, b);
}

std::vector<const ExchangeFile*> addresses(const std::deque<ExchangeFile>& files) {
  std::vector<const ExchangeFile*> result;
  result.reserve(files.size());
  for (const ExchangeFile& file : files) result.push_back(&file);
  return result;
}

std::deque<ExchangeFile> openAll(const std::vector<std::string>& names) {
  std::deque<ExchangeFile> files;
  for (const std::string& name : names) files.emplace_back(name);
  return files;
}

class Merge {
 public:
  Merge(const MergeOptions& options, Console& console)
      : options_(options),
        console_(console),
        files_(openAll(options.files)),
        labels_(addresses(files_)),
        progress_(console, "records") {}

  void run() {
    collectSymbols();
    for (const MergedSymbol& symbol : symbols_) requireAgreement(symbol);
    for (const MergedSymbol& symbol : symbols_) noteDifferences(symbol);
    noteSpellings();
    NewFile output(options_.output);
    output.addLabels(labels_.count(), [this](int number) { return labels_.label(number); });
    for (MergedSymbol& symbol : symbols_) {
      output.startSymbol(symbol.first());
      if (!symbol.first().isAlias()) mergeRecords(symbol, output);
      output.endSymbol();
    }
    refuseConflicts();
    output.publish();
    report();
  }

 private:
  void collectSymbols() {
    std::map<std::string, std::size_t> places;
    for (std::size_t f = 0; f < files_.size(); ++f) {
      for (const FileSymbol& symbol : files_[f].symbols()) {
        const std::string name = zdb::contract::lowerCase(symbol.name);
        const auto [place, isNew] = places.emplace(name, symbols_.size());
        if (isNew) symbols_.emplace_back();
        symbols_[place->second].sources.push_back({f, symbol});
        total_ += symbol.recordCount;
      }
    }
  }

  const std::string& fileOf(const Source& source) const { return options_.files[source.file]; }

  void requireAgreement(const MergedSymbol& symbol) const {
    const FileSymbol& first = symbol.first();
    for (const Source& source : symbol.sources) {
      const FileSymbol& other = source.symbol;
      if (other.type == first.type && other.dim == first.dim &&
          isSameText(other.aliasOf, first.aliasOf)) {
        continue;
      }
      throw ToolError(first.name + " is " + typeText(first) + " in " +
                      fileOf(symbol.sources.front()) + ", but " + typeText(other) + " in " +
                      fileOf(source));
    }
  }

  void noteDifferences(const MergedSymbol& symbol) {
    const FileSymbol& first = symbol.first();
    if (first.isAlias()) return;
    const std::string domains = domainText(first);
    for (const Source& source : symbol.sources) {
      const FileSymbol& other = source.symbol;
      const auto note = [&](const char* what, const std::string& taken, const std::string& left) {
        if (taken == left) return;
        std::string text = first.name + ": the " + what + " is (";
        text.append(taken).append("), as in ").append(fileOf(symbol.sources.front()));
        text.append(", not (").append(left).append("), as in ").append(fileOf(source));
        console_.note(text);
      };
      note("text", first.text, other.text);
      note("subtype", std::to_string(first.subtype()), std::to_string(other.subtype()));
      const std::string otherDomains = domainText(other);
      if (!isSameText(domains, otherDomains)) note("domain", domains, otherDomains);
    }
  }

  void noteSpellings() {
    std::uint64_t count = 0;
    std::string example;
    for (std::size_t f = 1; f < files_.size(); ++f) {
      const ExchangeFile& file = files_[f];
      for (int own = 1; own <= file.labelCount(); ++own) {
        const int number = labels_.numbers(f).byOwn[static_cast<std::size_t>(own)];
        const std::string_view taken = labels_.label(number);
        if (taken == file.label(own)) continue;
        if (count++ == 0) {
          example.append(taken).append(", not ").append(file.label(own));
          example += " as in " + file.name();
        }
      }
    }
    if (count == 0) return;
    console_.note(counted(count, "label") + (count == 1 ? " is" : " are") +
                  " spelled as in an earlier file: " + example);
  }

  void mergeRecords(MergedSymbol& symbol, NewFile& output) {
    std::deque<OrderedRecords> records;
    std::vector<OrderedRecords*> left;  // those that have a record at hand
    for (const Source& source : symbol.sources) {
      OrderedRecords& each = records.emplace_back(files_[source.file], source.symbol,
                                                  labels_.numbers(source.file), progress_, total_);
      if (each.next()) left.push_back(&each);
    }
    const auto dim = static_cast<std::size_t>(symbol.first().dim);
    const auto compare = [dim](const OrderedRecords* a, const OrderedRecords* b) {
      return std::lexicographical_compare(a->keys(), a->keys() + dim, b->keys(), b->keys() + dim);
    };
    std::vector<OrderedRecords*> equal;
    while (!left.empty()) {
      const OrderedRecords* least = *std::ranges::min_element(left, compare);
      equal.clear();
      for (OrderedRecords* each : left) {
        if (each == least || !compare(least, each)) equal.push_back(each);
      }
      put(symbol, equal, output);
      for (OrderedRecords* each : equal) {
        progress_.step(total_);
        if (!each->next()) std::erase(left, each);
      }
    }
  }

  /// Writes what the records with one key become; they stand in the order of the files.
  void put(MergedSymbol& symbol, const std::vector<OrderedRecords*>& records, NewFile& output) {
    ++symbol.records;
    if (records.size() == 1) return output.add(*records.front());
    ++symbol.shared;
    const FileSymbol& first = symbol.first();
    if (first.type == ZDB_PARAMETER && options_.onConflict == OnConflict::Sum) {
      double sum = records.front()->values()[0];
      for (std::size_t i = 1; i < records.size(); ++i) sum = add_(sum, records[i]->values()[0]);
      return output.add(records.front()->keys(), &sum);
    }
    const OrderedRecords* taken = nullptr;
    bool isConflict = false;
    for (const OrderedRecords* each : records) {
      if (first.type == ZDB_SET && each->text().empty()) continue;
      if (taken != nullptr && !haveSameValues(first, *taken, *each)) {
        if (!isConflict) rememberConflict(first, *taken, *each);
        isConflict = true;
      }
      if (taken == nullptr || options_.onConflict == OnConflict::B) taken = each;
    }
    if (isConflict) ++symbol.conflicts;
    output.add(taken == nullptr ? *records.front() : *taken);
  }

  static bool haveSameValues(const FileSymbol& symbol, const OrderedRecords& a,
                             const OrderedRecords& b) {
    if (symbol.type == ZDB_SET) return a.text() == b.text();
    return std::equal(
        a.values(), a.values() + symbol.valueCount(), b.values(), [](double x, double y) {
          return x == y || std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
        });
  }

  void rememberConflict(const FileSymbol& symbol, const OrderedRecords& a,
                        const OrderedRecords& b) {
    if (!conflict_.empty()) return;
    Entry entry{symbol.name};
    for (int d = 0; d < symbol.dim; ++d) entry.labels.emplace_back(labels_.label(a.keys()[d]));
    conflict_ = entryText(entry) + " is " + valueText(symbol, a) + " in " + a.file().name() +
                " and " + valueText(symbol, b) + " in " + b.file().name();
  }

  static std::string valueText(const FileSymbol& symbol, const OrderedRecords& record) {
    if (symbol.type == ZDB_SET) return '"' + std::string(record.text()) + '"';
    ValueFormat format(FileRecords::specials(), SpecialForm::Names);
    std::string text;
    for (int v = 0; v < symbol.valueCount(); ++v) {
      (text += v == 0 ? "" : ",") += format(record.values()[v]);
    }
    return text;
  }

  std::uint64_t conflictCount() const {
    std::uint64_t count = 0;
    for (const MergedSymbol& symbol : symbols_) count += symbol.conflicts;
    return count;
  }

  void refuseConflicts() const {
    const std::uint64_t count = conflictCount();
    const bool isSum = options_.onConflict == OnConflict::Sum;
    if (count == 0 || (options_.onConflict != OnConflict::Error && !isSum)) return;
    throw ToolError(counted(count, "record") + (count == 1 ? " differs" : " differ") +
                    (isSum ? " and cannot be added, as only parameters can" : "") +
                    "; nothing is written. The first: " + conflict_);
  }

  void report() {
    const FileSize size = sizeOf(ExchangeFile(options_.output));
    options_.json ? writeJson(size) : print(size);
  }

  static std::uint64_t recordsIn(const MergedSymbol& symbol, std::size_t file) {
    for (const Source& source : symbol.sources) {
      if (source.file == file) return source.symbol.recordCount;
    }
    return 0;
  }

  void print(const FileSize& size) {
    std::vector<Table::Column> columns = {{"symbol"}};
    for (const std::string& file : options_.files) columns.push_back({file, true});
    for (const char* heading : {"in several", "conflicts", "merged"}) {
      columns.push_back({heading, true});
    }
    Table table(std::move(columns));
    for (const MergedSymbol& symbol : symbols_) {
      if (symbol.first().isAlias()) continue;
      std::vector<std::string> row = {symbol.first().name};
      for (std::size_t f = 0; f < files_.size(); ++f) {
        row.push_back(std::to_string(recordsIn(symbol, f)));
      }
      for (const std::uint64_t count : {symbol.shared, symbol.conflicts, symbol.records}) {
        row.push_back(std::to_string(count));
      }
      table.add(row);
    }
    table.print(console_);
    console_.write('\n' + printable(options_.output) + ": " +
                   counted(static_cast<unsigned>(size.labels), "label") + ", " +
                   counted(size.symbols, "symbol") + ", " + counted(size.records, "record") + ", " +
                   counted(size.bytes, "byte") + '\n');
  }

  void writeJson(const FileSize& size) {
    JsonWriter json(console_);
    json.beginObject().key("files").beginArray(JsonWriter::Layout::OneLine);
    for (const std::string& file : options_.files) json.value(file);
    json.end().field("output", options_.output).field("labels", size.labels);
    json.field("bytes", size.bytes).field("records", size.records);
    json.field("conflicts", conflictCount()).key("symbols").beginArray();
    for (const MergedSymbol& symbol : symbols_) {
      json.beginObject(JsonWriter::Layout::OneLine).field("name", symbol.first().name);
      json.key("from").beginArray(JsonWriter::Layout::OneLine);
      for (std::size_t f = 0; f < files_.size(); ++f) json.value(recordsIn(symbol, f));
      json.end().field("inSeveral", symbol.shared).field("conflicts", symbol.conflicts);
      json.field("records", symbol.records).end();
    }
    json.end().end();
  }

  const MergeOptions& options_;
  Console& console_;
  std::deque<ExchangeFile> files_;
  LabelOrder labels_;
  std::vector<MergedSymbol> symbols_;
  Adder add_;
  std::string conflict_;  ///< the first one, in words
  Progress progress_;
  std::uint64_t total_ = 0;
};

void runMerge(const MergeOptions& options, Console& console) {
  if (options.files.size() < 2) throw WrongUseError("FILE: there must be two or more");
  if (!options.force) checkOutput(options.output, options.files);
  Merge(options, console).run();
}

}  // namespace

Verb mergeVerb() {
  return {
      .name = "merge",
      .summary = "Writes the data of several exchange files into one",
      .details = R"(The new file has the symbols of all files, and of each symbol the records of all
files, which belong together by their labels. A report gives their numbers.

- A symbol must have the same type and dimension in all files that have it, and an alias the same
set. Text, subtype and domains are those of the first file; differences are
reported on standard error.
- A conflict is a record that several files have, but with different values, or an element with
different texts. `--on-conflict` says what to do with it. An element without a text takes the text
that another file has.
- Records must be inside the domains that their symbol has in the first file, with the elements of
all files.
- Labels stand in the order of the first file; those that it does not have stand before the next one
that it has, or at the end. A label that differs in the case of letters is the same one.

If anything is wrong, nothing is written, and an earlier file stays as it was. Memory does not grow
with the records. Only if the labels of a symbol stand in another order than in the files before, so
that its records do, too, are the records of this symbol read twice and sorted: in
32 MiB of memory for each file, with temporary files in the folder that `TMPDIR` names, or `/tmp`,
for those that do not fit.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange files to read, two or more",
                    .target = into(&MergeOptions::files)}},
      .options = {{.name = "output",
                   .letter = 'o',
                   .value = "OUT",
                   .kind = Kind::File,
                   .text = "Exchange file to write",
                   .target = into(&MergeOptions::output),
                   .isRequired = true},
                  {.name = "on-conflict",
                   .value = "HOW",
                   .kind = Kind::Choice,
                   .text = "What to do with a record that files have with different values",
                   .details =
                       "`error` writes nothing, and says how many there are; `a` takes the first "
                       "file that has the record, `b` the last one. `sum` adds up all records of "
                       "parameters that several files have, also equal ones; conflicts in other "
                       "symbols are errors. A sum with `Undef` is `Undef`, otherwise with `NA` is "
                       "`NA`, otherwise with an infinity is this; `+Inf` and `-Inf` make `Undef`; "
                       "`Eps` counts as 0.",
                   .target = into(&MergeOptions::onConflict, {"error", "a", "b", "sum"})},
                  {.name = "force",
                   .text = "Write over an input, or over a file that is not an exchange file",
                   .target = into(&MergeOptions::force)},
                  jsonOption(&MergeOptions::json)},
      .examples = {{"zdbcc merge 2024.zxf 2025.zxf 2026.zxf -o all.zxf", "Years in one file"},
                   {"zdbcc merge plan.zxf corrections.zxf -o plan.zxf --force --on-conflict b",
                    "Corrections into a file"}},
      .action = runs(runMerge)};
}

}  // namespace zdb::tool
