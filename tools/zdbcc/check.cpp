// zdbcc check: whether data files are sound, and what can be saved of one that is not.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "commands.h"
#include "salvage.h"

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

std::string counted(std::uint64_t count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

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

void runCheck(const CheckOptions& options, Console& console) {
  bool isDone = true;
  for (const std::string& file : options.files) {
    try {
      isDone = checkFile(file, options.salvage, console) && isDone;
    } catch (const zdb::zxfile::ZxfError& failure) {
      isDone = isDone && isDamageOfDirectory(failure.code());
      console.report(file + ": " + describe(failure));
    }
  }
  console.flush();
  if (!isDone) throw CLI::RuntimeError(2);
}

}  // namespace

void addCheck(CLI::App& app, Console& console) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App* command = app.add_subcommand(
      "check",
      "Reads all of data files and lists what is damaged: exit code 0 if all is sound, 1 if "
      "something is damaged, 2 if a file cannot be read");
  command->add_option("FILE", options->files, "Data files to check")->required();
  command->add_option("--salvage", options->salvage, "New file for what can be read of one FILE")
      ->check(CLI::NonexistentPath);
  command->callback([options, &console] {
    if (!options->salvage.empty() && options->files.size() > 1)
      throw CLI::ValidationError("--salvage", "needs a single FILE");
    runCheck(*options, console);
  });
}

}  // namespace zdb::tool
