// zdbcc check: whether data files are sound, and what can be saved of one that is not.
#include <filesystem>

#include "json.h"
#include "progress.h"
#include "salvage.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

using zdb::zxfile::Errc;

struct CheckOptions {
  std::vector<std::string> files;
  std::string salvage;
  bool json = false;
};

/// What was found in a file.
struct Findings {
  std::uint64_t records = 0;
  std::uint64_t recordsLost = 0;
  std::uint32_t blocks = 0;
  std::vector<Damage> damages;
  std::set<std::uint32_t> damaged;  ///< numbers of symbols
};

Findings checkSymbols(BlockChecker& checker, Console& console) {
  Findings found;
  Progress progress(console, "records");
  const auto& symbols = checker.directory().symbols;
  std::uint64_t total = 0;
  for (const auto& symbol : symbols) total += symbol.recordCount;
  for (std::uint32_t number = 1; number <= symbols.size(); ++number) {
    const auto onBlock = [&](const zdb::zxfile::Block& block) {
      found.records += block.count;
      ++found.blocks;
      progress.update(found.records + found.recordsLost, total);
    };
    checker.check(number, onBlock, [&](const Damage& damage) {
      found.recordsLost += damage.recordsLost;
      found.damaged.insert(number);
      found.damages.push_back(damage);
    });
  }
  return found;
}

void print(const std::string& file, const Findings& found, Console& console) {
  for (const Damage& damage : found.damages) {
    console.write(printable(file + ": symbol " + damage.symbol + ", block " +
                            std::to_string(damage.block) + " at byte " +
                            std::to_string(damage.byte) + ": " + damage.reason + ", " +
                            counted(damage.recordsLost, "record") + " lost") +
                  '\n');
  }
  if (!found.damages.empty()) return;
  console.write(printable(file) + ": sound, " + counted(found.records, "record") + " in " +
                counted(found.blocks, "block") + '\n');
}

void write(const std::string& file, const Findings& found, JsonWriter& json) {
  json.beginObject().field("file", file).field("sound", found.damages.empty());
  json.field("records", found.records).field("recordsLost", found.recordsLost);
  json.field("blocks", found.blocks).key("damages").beginArray();
  for (const Damage& damage : found.damages) {
    json.beginObject(JsonWriter::Layout::OneLine).field("symbol", damage.symbol);
    json.field("block", damage.block).field("byte", damage.byte);
    json.field("recordsLost", damage.recordsLost).field("reason", damage.reason).end();
  }
  json.end().end();
}

bool isDamageOfDirectory(Errc code) {
  return code == Errc::TruncatedFile || code == Errc::DamagedHeader ||
         code == Errc::DamagedDirectory;
}

bool isSalvaged(BlockChecker& checker, const Findings& found, const std::string& target,
                Console& console) {
  try {
    salvage(checker, found.damaged, target.c_str());
    return true;
  } catch (const zdb::zxfile::ZxfError& failure) {
    console.report(target + ": " + describe(failure, target));
    return false;
  }
}

/// Checks files one after the other.
class Check {
 public:
  Check(const CheckOptions& options, Console& console)
      : options_(options), console_(console), json_(console) {}

  /// Whether all that was asked for could be done.
  bool run() {
    bool isDone = true;
    if (options_.json) json_.beginArray();
    for (const std::string& file : options_.files) {
      try {
        isDone = one(file) && isDone;
      } catch (const zdb::zxfile::ZxfError& failure) {
        isDone = isDone && isDamageOfDirectory(failure.code());
        if (options_.json) writeProblem(file, describe(failure, file));
        console_.report(file + ": " + describe(failure, file));
      }
    }
    if (options_.json) json_.end();
    return isDone;
  }

 private:
  /// Throws the companion's ZxfError when the directory cannot be read.
  bool one(const std::string& file) {
    BlockChecker checker(file.c_str());
    const Findings found = checkSymbols(checker, console_);
    options_.json ? write(file, found, json_) : print(file, found, console_);
    if (!found.damages.empty()) {
      console_.report(file + ": damaged, " + std::to_string(found.recordsLost) + " of " +
                      counted(found.records + found.recordsLost, "record") + " lost");
    }
    return options_.salvage.empty() || isSalvaged(checker, found, options_.salvage, console_);
  }

  void writeProblem(const std::string& file, const std::string& problem) {
    json_.beginObject().field("file", file).field("sound", false).field("problem", problem).end();
  }

  const CheckOptions& options_;
  Console& console_;
  JsonWriter json_;
};

void checkTarget(const CheckOptions& options) {
  if (options.salvage.empty()) return;
  if (options.files.size() > 1) throw WrongUseError("--salvage needs a single FILE");
  std::error_code missing;
  if (std::filesystem::exists(options.salvage, missing)) {
    throw WrongUseError("--salvage: " + printable(options.salvage) + " exists already");
  }
}

ExitCode runCheck(const CheckOptions& options, Console& console) {
  checkTarget(options);
  return Check(options, console).run() ? ExitCode::Done : ExitCode::WrongUse;
}

}  // namespace

Verb checkVerb() {
  return {
      .name = "check",
      .summary = "Reads exchange files in full and lists what is damaged",
      .details =
          R"(For each damaged block, it prints the symbol, the number of the block, the byte at
which it begins, what is wrong with it, and how many records are lost:

    $ zdbcc check solution.zxf
    solution.zxf: symbol x, block 2 at byte 1150: checksum, 16384 records lost
    zdbcc: solution.zxf: damaged, 16384 of 40003 records lost

Records are stored in blocks of up to 16384, and each block can be read without the others. A file
whose header or directory is damaged cannot be salvaged.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange files to check",
                    .target = into(&CheckOptions::files)}},
      .options = {{.name = "salvage",
                   .value = "NEW",
                   .kind = Kind::File,
                   .text = "Write what can be read of one file to a new one",
                   .details = "It gets all labels, texts and symbols, and the records of all "
                              "readable blocks; a sound file becomes the same file again. A set "
                              "that has lost members no longer limits the symbols whose domain "
                              "it was: they keep it as a relaxed domain.",
                   .target = into(&CheckOptions::salvage)},
                  jsonOption(&CheckOptions::json)},
      .examples = {{"zdbcc check *.zxf", "Whether files are sound"},
                   {"zdbcc check bad.zxf --salvage good.zxf", "Save what can be read"}},
      .exitCodes = {{ExitCode::Done, "All files are sound."},
                    {ExitCode::Failed, "Something is damaged."},
                    {ExitCode::WrongUse,
                     "A file cannot be opened or is not an exchange file, the "
                     "new file cannot be written, or the command line is "
                     "wrong."}},
      .isQuestion = true,
      .action = runs(runCheck)};
}

}  // namespace zdb::tool
