// zdbcc repack: writes an exchange file, or a part of it, anew.
#include <algorithm>
#include <map>
#include <set>

#include "contract/names.h"
#include "json.h"
#include "newfile.h"
#include "outputfile.h"
#include "progress.h"
#include "table.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct RepackOptions {
  std::string file;
  std::string output;
  std::vector<std::string> only;
  std::vector<std::string> drop;
  std::vector<std::string> rename;
  bool sortLabels = false;
  bool pruneLabels = false;
  bool force = false;
  bool json = false;
};

class Repack {
 public:
  Repack(const RepackOptions& options, Console& console)
      : options_(options),
        console_(console),
        file_(options.file),
        isKept_(file_.symbols().size(), options.only.empty()),
        progress_(console, "records") {}

  void run() {
    chooseSymbols();
    renameSymbols();
    for (const FileSymbol& symbol : file_.symbols()) {
      if (isKept(symbol)) symbols_.push_back(adapted(symbol));
    }
    const int passes = options_.pruneLabels ? 2 : 1;
    for (const FileSymbol& symbol : symbols_) total_ += passes * std::uint64_t{symbol.recordCount};
    chooseLabels();
    write();
    report();
  }

 private:
  static std::size_t index(const FileSymbol& symbol) {
    return static_cast<std::size_t>(symbol.number) - 1;
  }
  bool isKept(const FileSymbol& symbol) const { return isKept_[index(symbol)]; }

  const FileSymbol& require(const std::string& name) const {
    const FileSymbol* symbol = file_.findSymbol(name);
    if (symbol == nullptr) file_.symbol(name);  // throws, with a guess
    if (symbol == nullptr) throw ToolError("* is all labels, and no symbol");
    return *symbol;
  }

  /// An alias cannot exist without its set, and is dropped with it.
  void chooseSymbols() {
    for (const std::string& name : options_.only) {
      const FileSymbol& symbol = require(name);
      choose(symbol.isAlias() && symbol.aliasOf != "*" ? file_.symbol(symbol.aliasOf) : symbol,
             true);
    }
    for (const std::string& name : options_.drop) choose(require(name), false);
  }

  void choose(const FileSymbol& symbol, bool isKept) {
    isKept_[index(symbol)] = isKept;
    for (const FileSymbol& other : file_.symbols()) {
      if (other.aliasOf == symbol.name) isKept_[index(other)] = isKept;
    }
  }

  void renameSymbols() {
    for (const std::string& option : options_.rename) {
      const std::size_t equals = option.find('=');
      if (equals == option.npos) {
        throw WrongUseError("--rename needs OLD=NEW, not \"" + printable(option) + '"');
      }
      const FileSymbol& symbol = require(option.substr(0, equals));
      const std::string name = option.substr(equals + 1);
      if (!isKept(symbol)) throw ToolError("--rename: " + symbol.name + " is dropped");
      if (!zdb::contract::isSymbolName(name)) {
        throw WrongUseError("--rename: \"" + printable(name) +
                            "\" is not a name: a letter, then letters, digits and underscores, at "
                            "most 63");
      }
      if (!names_.emplace(symbol.name, name).second) {
        throw WrongUseError("--rename: " + symbol.name + " is given twice");
      }
    }
    std::set<std::string> used;
    for (const FileSymbol& symbol : file_.symbols()) {
      if (!isKept(symbol) || used.insert(contract::lowerCase(newName(symbol.name))).second)
        continue;
      throw ToolError("--rename: two symbols would have the name " + newName(symbol.name));
    }
  }

  std::string newName(const std::string& name) const {
    const auto found = names_.find(name);
    return found == names_.end() ? name : found->second;
  }

  /// The symbol as it will be. Domains are dropped or renamed with their sets.
  FileSymbol adapted(const FileSymbol& symbol) {
    FileSymbol result = symbol;
    result.name = newName(symbol.name);
    result.aliasOf = newName(symbol.aliasOf);
    bool isWhole = true;
    for (Domain& domain : result.domains) {
      if (domain.relaxed || domain.name == "*") continue;
      const FileSymbol& set = *file_.findSymbol(domain.name);
      domain.relaxed = !isKept(set);
      isWhole = isWhole && !domain.relaxed;
      domain.name = newName(set.name);
    }
    if (!isWhole && symbol.domainKind == zdb::zxfile::DomainKind::Strict) {
      result.domainKind = zdb::zxfile::DomainKind::Relaxed;
      relaxed_.push_back(result.name);
    }
    return result;
  }

  void chooseLabels() {
    const auto count = static_cast<std::size_t>(file_.labelCount());
    std::vector<bool> isUsed(count + 1, !options_.pruneLabels);
    if (options_.pruneLabels) findUsed(isUsed);
    for (std::size_t own = 1; own <= count; ++own) {
      if (isUsed[own]) labels_.push_back(static_cast<int>(own));
    }
    if (options_.sortLabels) {
      std::vector<std::string> texts(count + 1);
      for (const int own : labels_)
        texts[static_cast<std::size_t>(own)] = contract::lowerCase(label(own));
      std::ranges::sort(labels_, {}, [&](int own) -> const std::string& {
        return texts[static_cast<std::size_t>(own)];
      });
    }
    numbers_.byOwn.assign(count + 1, 0);
    for (std::size_t i = 0; i < labels_.size(); ++i) {
      numbers_.byOwn[static_cast<std::size_t>(labels_[i])] = static_cast<int>(i) + 1;
    }
    numbers_.findOrder();
  }

  void findUsed(std::vector<bool>& isUsed) {
    for (const FileSymbol& symbol : symbols_) {
      if (symbol.isAlias()) continue;
      for (FileRecords records(file_, symbol); records.next(); progress_.step(total_)) {
        for (int d = 0; d < symbol.dim; ++d) {
          isUsed[static_cast<std::size_t>(records.keys()[d])] = true;
        }
      }
    }
  }

  std::string_view label(int own) const { return file_.label(own); }

  void write() {
    NewFile output(options_.output, file_.producer());
    output.addLabels(static_cast<int>(labels_.size()), [this](int number) {
      return label(labels_[static_cast<std::size_t>(number) - 1]);
    });
    for (const FileSymbol& symbol : symbols_) {
      output.startSymbol(symbol);
      if (!symbol.isAlias()) {
        for (OrderedRecords records(file_, symbol, numbers_, progress_, total_); records.next();
             progress_.step(total_)) {
          output.add(records);
        }
      }
      output.endSymbol();
    }
    output.publish();
  }

  void report() {
    const FileSize before = sizeOf(file_);
    const FileSize after = sizeOf(ExchangeFile(options_.output));
    options_.json ? writeJson(before, after) : printTable(before, after);
    if (!relaxed_.empty()) {
      std::string names;
      for (const std::string& name : relaxed_) names += (names.empty() ? "" : ", ") + name;
      console_.note("domains are no longer checked, because their sets were dropped, in " + names);
    }
  }

  void printTable(const FileSize& before, const FileSize& after) {
    Table table({{""}, {"before", true}, {"after", true}});
    const auto row = [&table](const char* what, std::uint64_t was, std::uint64_t is) {
      table.add({what, std::to_string(was), std::to_string(is)});
    };
    row("symbols", before.symbols, after.symbols);
    row("records", before.records, after.records);
    row("labels", static_cast<unsigned>(before.labels), static_cast<unsigned>(after.labels));
    row("bytes", before.bytes, after.bytes);
    table.print(console_);
  }

  void writeJson(const FileSize& before, const FileSize& after) {
    JsonWriter json(console_);
    json.beginObject().field("file", options_.file).field("output", options_.output);
    const auto size = [&json](const char* when, const FileSize& each) {
      json.key(when).beginObject(JsonWriter::Layout::OneLine).field("symbols", each.symbols);
      json.field("records", each.records).field("labels", each.labels);
      json.field("bytes", each.bytes).end();
    };
    size("before", before);
    size("after", after);
    json.key("relaxed").beginArray(JsonWriter::Layout::OneLine);
    for (const std::string& name : relaxed_) json.value(name);
    json.end().end();
  }

  const RepackOptions& options_;
  Console& console_;
  ExchangeFile file_;
  std::vector<bool> isKept_;                  ///< by number - 1
  std::map<std::string, std::string> names_;  ///< new ones, by those of the file
  std::vector<FileSymbol> symbols_;           ///< those that are kept
  std::vector<std::string> relaxed_;          ///< symbols whose domains have become relaxed
  std::vector<int> labels_;                   ///< own numbers in the order of the new file
  LabelNumbers numbers_;
  Progress progress_;
  std::uint64_t total_ = 0;
};

void runRepack(const RepackOptions& options, Console& console) {
  if (!options.force) checkOutput(options.output, {options.file});
  Repack(options, console).run();
}

}  // namespace

Verb repackVerb() {
  return {
      .name = "repack",
      .summary = "Rewrites an exchange file: as it is, in part, or with other names",
      .details = R"(Without options, the new file has the same data in as little room as possible:
`zdbcc diff` finds no difference. Element texts that no record has are left out. The report
says what the file has before and after.

- An alias goes with its set: it is kept and dropped with it, and keeps it. Dropping an alias leaves
the set.
- A domain that is dropped becomes relaxed, which is only a name: the records stay, and nothing
checks them any more. The symbols are named on standard error.
- Domains and aliases follow a set that is renamed.

Memory does not grow with the records. If labels are sorted, and the records of a symbol come in
another order by it, they are sorted in 32 MiB of memory, with a temporary file in the folder that
`TMPDIR` names, or `/tmp`, for those that do not fit.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to read",
                    .target = into(&RepackOptions::file)}},
      .options = {{.name = "output",
                   .letter = 'o',
                   .value = "OUT",
                   .kind = Kind::File,
                   .text = "Exchange file to write",
                   .target = into(&RepackOptions::output),
                   .isRequired = true},
                  {.name = "only",
                   .value = "SYMBOL",
                   .kind = Kind::Symbol,
                   .text = "Keep only these symbols",
                   .target = into(&RepackOptions::only)},
                  {.name = "drop",
                   .value = "SYMBOL",
                   .kind = Kind::Symbol,
                   .text = "Leave out a symbol",
                   .target = into(&RepackOptions::drop)},
                  {.name = "rename",
                   .value = "OLD=NEW",
                   .text = "Give a symbol another name",
                   .target = into(&RepackOptions::rename)},
                  {.name = "sort-labels",
                   .text = "Sort labels, and so records, by their texts",
                   .details =
                       "Without regard to the case of ASCII letters, otherwise byte by byte.",
                   .target = into(&RepackOptions::sortLabels)},
                  {.name = "prune-labels",
                   .text = "Leave out labels that no record has; reads the records twice",
                   .target = into(&RepackOptions::pruneLabels)},
                  {.name = "force",
                   .text = "Write over the input, or over a file that is not an exchange file",
                   .target = into(&RepackOptions::force)},
                  jsonOption(&RepackOptions::json)},
      .examples = {{"zdbcc repack all.zxf -o part.zxf --only price --only need --prune-labels",
                    "Two symbols, and the labels that they use"},
                   {"zdbcc repack plan.zxf -o plan.zxf --force --rename cost=price",
                    "Another name in the same file"}},
      .action = runs(runRepack)};
}

}  // namespace zdb::tool
