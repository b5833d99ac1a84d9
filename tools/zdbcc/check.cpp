// zdbcc check: whether data files are sound, and what can be saved of one that is not.
#include <filesystem>

#include "json.h"
#include "salvage.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

using zdb::zxfile::Errc;

struct CheckOptions {
  std::vector<std::string> files;
  std::string salvage;
};

/// What was found in the symbols of a file.
struct Findings {
  std::uint64_t records = 0;
  std::uint64_t recordsLost = 0;
  std::uint32_t blocks = 0;
  std::set<std::uint32_t> damaged;  ///< numbers of symbols
};

Findings checkSymbols(BlockChecker& checker, const std::string& file, Console& console) {
  Findings found;
  const auto symbolCount = static_cast<std::uint32_t>(checker.directory().symbols.size());
  for (std::uint32_t number = 1; number <= symbolCount; ++number) {
    const auto onBlock = [&](const zdb::zxfile::Block& block) {
      found.records += block.count;
      ++found.blocks;
    };
    checker.check(number, onBlock, [&](const Damage& damage) {
      found.recordsLost += damage.recordsLost;
      found.damaged.insert(number);
      console.write(printable(file + ": symbol " + damage.symbol + ", block " +
                              std::to_string(damage.block) + " at byte " +
                              std::to_string(damage.byte) + ": " + damage.reason + ", " +
                              counted(damage.recordsLost, "record") + " lost") +
                    '\n');
    });
  }
  return found;
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
    console.report(target + ": " + describe(failure));
    return false;
  }
}

/// Whether all could be done that was asked for. Throws the companion's ZxfError when the directory
/// cannot be read.
bool checkFile(const std::string& file, const std::string& target, Console& console) {
  BlockChecker checker(file.c_str());
  const Findings found = checkSymbols(checker, file, console);
  if (found.damaged.empty()) {
    console.write(printable(file) + ": sound, " + counted(found.records, "record") + " in " +
                  counted(found.blocks, "block") + '\n');
  } else {
    console.report(file + ": damaged, " + std::to_string(found.recordsLost) + " of " +
                   counted(found.records + found.recordsLost, "record") + " lost");
  }
  return target.empty() || isSalvaged(checker, found, target, console);
}

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
  bool isDone = true;
  for (const std::string& file : options.files) {
    try {
      isDone = checkFile(file, options.salvage, console) && isDone;
    } catch (const zdb::zxfile::ZxfError& failure) {
      isDone = isDone && isDamageOfDirectory(failure.code());
      console.report(file + ": " + describe(failure));
    }
  }
  return isDone ? ExitCode::Done : ExitCode::WrongUse;
}

}  // namespace

Verb checkVerb() {
  return {
      .name = "check",
      .summary = "Reads all of exchange files and lists what is damaged",
      .details = R"(For each damage it says symbol, block, the byte at which the block begins, what
is wrong with it, and how many records are lost:

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
                   .target = into(&CheckOptions::salvage)}},
      .examples = {{"zdbcc check *.zxf", "Whether files are sound"},
                   {"zdbcc check bad.zxf --salvage good.zxf", "Save what can be read"}},
      .exitCodes = {{ExitCode::Done, "All files are sound."},
                    {ExitCode::Failed, "Something is damaged."},
                    {ExitCode::WrongUse,
                     "A file cannot be opened or is no exchange file, the "
                     "new file cannot be written, or the command line is "
                     "wrong."}},
      .action = runs(runCheck)};
}

}  // namespace zdb::tool
