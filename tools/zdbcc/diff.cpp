// zdbcc diff: what differs between two exchange files.
#include <algorithm>
#include <bit>
#include <cmath>
#include <set>

#include "contract/names.h"
#include "diffreport.h"
#include "guess.h"
#include "number.h"
#include "orderedrecords.h"
#include "progress.h"
#include "values.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct DiffOptions {
  std::string a;
  std::string b;
  std::vector<std::string> symbols;
  std::string tolerance;
  std::optional<std::uint64_t> limit;
  bool spelling = false;
  bool quiet = false;
  bool json = false;
};

/// How far apart two numbers may be and still count as the same.
struct Tolerance {
  double absolute = 0;
  double relative = 0;

  /// Special values and what else is not a number are the same only bit by bit.
  bool areSame(double a, double b) const {
    if (a == b || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b)) return true;
    const double distance = std::abs(a - b);
    return distance <= absolute || distance <= relative * std::max(std::abs(a), std::abs(b));
  }
};

double readTolerance(std::string_view text) {
  double number = 0;
  if (readNumber(text, number) && std::isfinite(number) && number >= 0) return number;
  throw WrongUseError("--tolerance needs numbers from 0 on: ABS or ABS,REL, not \"" +
                      printable(text) + '"');
}

Tolerance tolerance(const std::string& option) {
  if (option.empty()) return {};
  const std::size_t comma = option.find(',');
  Tolerance result{readTolerance(std::string_view(option).substr(0, comma))};
  if (comma != option.npos) result.relative = readTolerance(option.substr(comma + 1));
  return result;
}

bool areSameDomains(const FileSymbol& a, const FileSymbol& b) {
  return std::ranges::equal(a.domains, b.domains, [](const Domain& x, const Domain& y) {
    return x.relaxed == y.relaxed && zdb::contract::isSameText(x.name, y.name);
  });
}

/// Only then do they have records that can be compared.
bool haveSameShape(const FileSymbol& a, const FileSymbol& b) {
  return a.type == b.type && a.dim == b.dim && !a.isAlias();
}

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

/// Compares two files symbol by symbol.
class Diff {
 public:
  Diff(const DiffOptions& options, Console& console)
      : options_(options),
        tolerance_(tolerance(options.tolerance)),
        console_(console),
        a_(options.a),
        b_(options.b),
        labels_({&a_, &b_}),
        progress_(console, "records") {
    const DiffNames names{options.a, options.b};
    report_ = options.quiet  ? noReport()
              : options.json ? jsonReport(names, labels_, console)
                             : textReport(names, labels_, console);
  }

  /// Whether all is the same; what could not be compared is reported.
  bool areSame() {
    chooseSymbols();
    report_->begin();
    for (const Pair& pair : pairs_) {
      if (isDecided()) break;
      compare(pair);
    }
    report_->end(pairs_.size(), different_);
    return different_ == 0;
  }

 private:
  /// Symbols of one name.
  struct Pair {
    std::optional<FileSymbol> a;
    std::optional<FileSymbol> b;
  };

  void chooseSymbols() {
    if (options_.symbols.empty()) {
      if (options_.spelling) choose("*");
      for (const FileSymbol& symbol : a_.symbols()) choose(symbol.name);
      for (const FileSymbol& symbol : b_.symbols()) choose(symbol.name);
    }
    for (const std::string& name : options_.symbols) choose(name);
  }

  void choose(const std::string& name) {
    if (!chosen_.insert(zdb::contract::lowerCase(name)).second) return;
    Pair pair;
    if (name == "*") {
      pair = {a_.symbol(name), b_.symbol(name)};
    } else {
      if (const FileSymbol* symbol = a_.findSymbol(name)) pair.a = *symbol;
      if (const FileSymbol* symbol = b_.findSymbol(name)) pair.b = *symbol;
    }
    if (!pair.a && !pair.b) failToFind(name);
    if (pair.a && pair.b && haveSameShape(*pair.a, *pair.b) && !pair.a->isUniverse()) {
      total_ += std::uint64_t{pair.a->recordCount} + pair.b->recordCount;
    }
    pairs_.push_back(std::move(pair));
  }

  [[noreturn]] void failToFind(const std::string& name) const {
    Guess guess(name);
    for (const FileSymbol& symbol : a_.symbols()) guess.consider(symbol.name);
    for (const FileSymbol& symbol : b_.symbols()) guess.consider(symbol.name);
    throw ToolError("neither file has a symbol " + name + guess.text());
  }

  bool isDecided() const { return options_.quiet && different_ > 0; }

  void compare(const Pair& pair) {
    if (pair.a && pair.b) {
      isDifferent_ = false;
      report_->beginSymbol(*pair.a);
      compareProperties(*pair.a, *pair.b);
      compareRecords(*pair.a, *pair.b);
      if (isDifferent_) ++different_;
      return;
    }
    report_->onlyIn(pair.a ? Side::A : Side::B, pair.a ? *pair.a : *pair.b);
    ++different_;
  }

  void property(const char* name, const std::string& a, const std::string& b) {
    isDifferent_ = true;
    report_->property(name, a, b);
  }

  void compareProperties(const FileSymbol& a, const FileSymbol& b) {
    if (options_.spelling && a.name != b.name) property("name", a.name, b.name);
    if (a.type != b.type) property("type", typeName(a.type), typeName(b.type));
    if (a.type == b.type && a.isAlias()) {
      if (!zdb::contract::isSameText(a.aliasOf, b.aliasOf)) {
        property("aliasOf", a.aliasOf, b.aliasOf);
      }
    } else if (!a.isAlias() && !b.isAlias()) {
      if (a.dim != b.dim) property("dimension", std::to_string(a.dim), std::to_string(b.dim));
      if (a.subtype() != b.subtype()) {
        property("subtype", std::to_string(a.subtype()), std::to_string(b.subtype()));
      }
      if (!areSameDomains(a, b)) property("domains", domainText(a), domainText(b));
    }
    if (a.text != b.text) property("text", quoted(a.text), quoted(b.text));
  }

  void compareRecords(const FileSymbol& a, const FileSymbol& b) {
    std::optional<RecordCounts> counts;
    if (haveSameShape(a, b) && !isDecided()) {
      counts.emplace();
      try {
        a.isUniverse() ? compareLabels(*counts) : walk(a, b, *counts);
      } catch (const OutputError&) {
        throw;
      } catch (const ToolError& failure) {
        counts->areAll = false;
        console_.report(failure.what());
      }
      if (counts->differences() > 0) isDifferent_ = true;
    }
    report_->endSymbol(counts);
  }

  /// Both come in the common order of labels, so that a walk over both finds what belongs together.
  void walk(const FileSymbol& a, const FileSymbol& b, RecordCounts& counts) {
    OrderedRecords recordsA(a_, a, labels_.numbers(0), progress_, total_);
    OrderedRecords recordsB(b_, b, labels_.numbers(1), progress_, total_);
    const auto dim = static_cast<std::size_t>(a.dim);
    bool hasA = recordsA.next();
    bool hasB = recordsB.next();
    while (hasA || hasB) {
      const int order = !hasA ? 1 : !hasB ? -1 : compareKeys(recordsA.keys(), recordsB.keys(), dim);
      if (order == 0) {
        compareRecord(recordsA, recordsB, a, counts);
      } else {
        const bool isInA = order < 0;
        ++(isInA ? counts.onlyInA : counts.onlyInB);
        if (isInA) show(recordsA.keys(), side(recordsA), {}, counts);
        if (!isInA) show(recordsB.keys(), {}, side(recordsB), counts);
      }
      if (options_.quiet && counts.differences() > 0) return;
      if (order <= 0) hasA = advance(recordsA);
      if (order >= 0) hasB = advance(recordsB);
    }
  }

  static int compareKeys(const int* a, const int* b, std::size_t dim) {
    for (std::size_t d = 0; d < dim; ++d) {
      if (a[d] != b[d]) return a[d] < b[d] ? -1 : 1;
    }
    return 0;
  }

  bool advance(OrderedRecords& records) {
    progress_.step(total_);
    return records.next();
  }

  void compareRecord(const OrderedRecords& a, const OrderedRecords& b, const FileSymbol& symbol,
                     RecordCounts& counts) {
    bool areSame = true;
    if (symbol.type == ZDB_SET) {
      areSame = a.text() == b.text();
    } else {
      for (int v = 0; v < symbol.valueCount(); ++v) {
        if (tolerance_.areSame(a.values()[v], b.values()[v])) continue;
        areSame = false;
        const double distance = std::abs(a.values()[v] - b.values()[v]);
        if (distance > counts.largest.value_or(0)) counts.largest = distance;
      }
    }
    ++(areSame ? counts.same : counts.different);
    if (!areSame) show(a.keys(), side(a), side(b), counts);
  }

  static RecordSide side(const OrderedRecords& records) {
    return {records.values(), records.text()};
  }

  void show(const int* keys, const RecordSide& a, const RecordSide& b, RecordCounts& counts) {
    if (options_.limit && counts.shown >= *options_.limit) return;
    ++counts.shown;
    report_->record(keys, a, b);
  }

  /// The labels themselves. Those that only one file has count if the user has asked for labels;
  /// spellings count with --spelling.
  void compareLabels(RecordCounts& counts) {
    constexpr double kPresent = 1;
    for (int number = 1; number <= labels_.count(); ++number) {
      const std::string_view label = labels_.label(number);
      const int inA = a_.findLabel(label);
      const int inB = b_.findLabel(label);
      RecordSide a;
      RecordSide b;
      if (inA != 0) a = {&kPresent, a_.label(inA)};
      if (inB != 0) b = {&kPresent, b_.label(inB)};
      const bool areBoth = inA != 0 && inB != 0;
      if (areBoth && (a.text == b.text || !options_.spelling)) {
        ++counts.same;
      } else if (areBoth || !options_.symbols.empty()) {
        ++(areBoth ? counts.different : inA != 0 ? counts.onlyInA : counts.onlyInB);
        show(&number, a, b, counts);
      }
    }
  }

  const DiffOptions& options_;
  Tolerance tolerance_;
  Console& console_;
  ExchangeFile a_;
  ExchangeFile b_;
  LabelOrder labels_;
  Progress progress_;
  std::unique_ptr<DiffReport> report_;
  std::set<std::string> chosen_;  ///< in lower case
  std::vector<Pair> pairs_;
  std::uint64_t total_ = 0;   ///< records to read
  bool isDifferent_ = false;  ///< the symbol at hand
  std::size_t different_ = 0;
};

ExitCode runDiff(const DiffOptions& options, Console& console) {
  const bool areSame = Diff(options, console).areSame();
  if (console.hasProblems()) return ExitCode::WrongUse;
  return areSame ? ExitCode::Done : ExitCode::Failed;
}

constexpr const char* kDetails =
    R"(Symbols belong together by their names, records by their labels: the order of
symbols and labels, and how the files number them, do not matter. Compared are type, dimension,
subtype, domains and text of symbols, the set of an alias, all values of records, and the texts of
elements. What both have is counted and not shown; if nothing differs, nothing is written.

What only A has, or has in another way, stands after a minus, what B has after a plus. Records are
rows of CSV as in `zdbcc dump`:

    $ zdbcc diff diet.zxf diet-changed.zxf price
    --- diet.zxf
    +++ diet-changed.zxf
    parameter price(food)
    - Wheat Flour (Enriched),36
    + Wheat Flour (Enriched),45
      0 records only in diet.zxf, 0 only in diet-changed.zxf, 1 different, 76 the same; largest difference 9
    1 of 1 symbol differs

- Names and labels are the same without regard to case, as everywhere; see `--spelling`.
- Labels that no record has do not matter. `zdbcc diff A B '*'` compares the labels themselves.
- A special value is the same as itself only: `Eps` is not 0.
- Records of symbols with different types or dimensions are not compared.

Both files are read once, side by side, and memory does not grow with the records: it is that of
their labels. Only if the labels of a symbol stand in another order in B than in A, so that its
records do, too, are the records of this symbol read twice from B and sorted: in 32 MiB of memory,
with a temporary file in the folder that `TMPDIR` names, or `/tmp`, for those that do not fit.)";

}  // namespace

Verb diffVerb() {
  return {
      .name = "diff",
      .summary = "Shows what differs between two exchange files",
      .details = kDetails,
      .operands = {{.name = "A",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file",
                    .target = into(&DiffOptions::a)},
                   {.name = "B",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to compare it with",
                    .target = into(&DiffOptions::b)},
                   {.name = "SYMBOL",
                    .kind = Kind::Symbol,
                    .text = "Symbols to compare; without them, all",
                    .target = into(&DiffOptions::symbols),
                    .isOptional = true}},
      .options = {{.name = "tolerance",
                   .value = "ABS[,REL]",
                   .text = "How far apart numbers may be and still count as the same",
                   .details = "By at most ABS, or by at most REL times the larger of the two "
                              "without their signs. Special values are not numbers here.",
                   .target = into(&DiffOptions::tolerance)},
                  {.name = "limit",
                   .value = "N",
                   .kind = Kind::Number,
                   .text = "Show at most N records of each symbol; all are counted",
                   .target = into(&DiffOptions::limit)},
                  {.name = "spelling",
                   .text = "Names of symbols, and labels unless a SYMBOL is given, that differ in "
                           "the case of letters are different",
                   .target = into(&DiffOptions::spelling)},
                  {.name = "quiet",
                   .letter = 'q',
                   .text = "Show nothing and stop at the first difference",
                   .target = into(&DiffOptions::quiet)},
                  jsonOption(&DiffOptions::json)},
      .examples = {{"zdbcc diff monday.zxf tuesday.zxf --limit 10", "What has changed"},
                   {"zdbcc diff a.zxf b.zxf flow --tolerance 1e-9,1e-6",
                    "Whether two solutions agree in a symbol"},
                   {"zdbcc diff a.zxf b.zxf -q && echo nothing new", "In a script"}},
      .exitCodes = {{ExitCode::Done, "The files are the same."},
                    {ExitCode::Failed, "They differ."},
                    {ExitCode::WrongUse,
                     "They could not be compared, or not all of them, or the command line is "
                     "wrong."},
                    {ExitCode::Interrupted, "Ended by Ctrl-C."}},
      .isQuestion = true,
      .action = runs(runDiff)};
}

}  // namespace zdb::tool
