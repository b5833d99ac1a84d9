#include "script/driver.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace zdb::script {

namespace {

constexpr std::size_t kMaxLine = 100;
const std::string kCannotRun = "cannot be run: ";

/// What came of each statement that was not as expected, and which ways it came.
using Differences = std::map<std::pair<std::size_t, std::string>, std::vector<std::string>>;

/// Runs the statements up to the first that cannot be run: what comes after it means nothing.
void runOneWay(const Program& program, const Script& script, const Way& way,
               Differences& differences) {
  bool didSomething = !way.after;
  std::size_t i = 0;
  try {
    Run run(program.host, way);
    for (; i < script.statements.size(); ++i) {
      const Statement& statement = script.statements[i];
      const std::string actual = run.execute(statement);
      if (actual != way.inSettings(statement.expected)) {
        differences[{i, actual}].push_back(way.name);
      }
      didSomething |= way.after && way.after(run);
    }
    if (!didSomething) throw ScriptError("this way does nothing here");
  } catch (const std::exception& error) {
    i = std::min(i, script.statements.size() - 1);
    differences[{i, kCannotRun + error.what()}].push_back(way.name);
  }
}

std::string namesOf(const std::vector<std::string>& some, std::size_t all) {
  if (some.size() == all) return "every way";
  return std::to_string(some.size()) + " of " + std::to_string(all) + " ways, first " + some[0];
}

/// The ways that do not leave a script out.
std::vector<Way> waysFor(const Program& program, const std::filesystem::path& path) {
  std::vector<Way> ways;
  std::ranges::copy_if(program.ways, std::back_inserter(ways),
                       [&](const Way& way) { return way.leavesOut.count(path.filename()) == 0; });
  return ways.empty() ? throw ScriptError(path.string() + ": no way runs it") : ways;
}

/// Writes FILE.new, in which expectations that were not met are replaced by what came the first
/// way. Comments and layout stay, but for what gets too long and for lines with alternatives, of
/// which each gets a line.
void writeUpdated(const Script& script, const Differences& differences, const std::string& way) {
  std::map<std::size_t, std::string> came;
  std::set<int> changedLines;
  for (const auto& [key, ways] : differences) {
    const bool isWay = std::find(ways.begin(), ways.end(), way) != ways.end();
    if (!isWay || key.second.rfind(kCannotRun, 0) == 0) continue;
    came.insert({key.first, key.second});
    changedLines.insert(script.statements[key.first].line);
  }
  std::ofstream file(script.path + ".new");
  std::size_t line = 0;
  const auto copyTo = [&](std::size_t end) {
    for (; line < end; ++line) file << script.lines[line] << '\n';
  };
  for (std::size_t i = 0; i < script.statements.size(); ++i) {
    const Statement& statement = script.statements[i];
    if (changedLines.count(statement.line) == 0) continue;
    copyTo(static_cast<std::size_t>(statement.line) - 1);
    const std::string& now = came.count(i) != 0 ? came[i] : statement.expected;
    const bool isLong = statement.source.size() + now.size() + 4 > kMaxLine;
    file << statement.source << (isLong ? "\n    => " : " => ") << now << '\n';
    line = static_cast<std::size_t>(statement.lastLine);
  }
  copyTo(script.lines.size());
  if (!file.flush()) throw ScriptError(script.path + ".new: cannot be written");
  std::cerr << script.path << ".new: written, look at it before you keep it\n";
}

/// Runs a script all its ways; whether all was as expected.
bool runScript(const Program& program, const Script& script, bool update) {
  const std::vector<Way> ways = waysFor(program, script.path);
  Differences differences;
  for (const Way& way : ways) runOneWay(program, script, way, differences);
  for (const auto& [key, some] : differences) {
    const Statement& statement = script.statements[key.first];
    std::cerr << script.path << ':' << statement.line << ": " << namesOf(some, ways.size())
              << "\n  " << statement.source << "\n  expected: " << statement.expected
              << "\n  actual:   " << key.second << '\n';
  }
  if (update && !differences.empty()) writeUpdated(script, differences, ways.front().name);
  return differences.empty();
}

int usage(const std::string& complaint) {
  std::cerr << complaint << "\nusage: PROGRAM [--update | --memory | --soak | --nulls] SCRIPT...\n";
  return 2;
}

}  // namespace

int runProgram(int argc, char** argv, const Program& program) try {
  std::vector<std::string> paths(argv + 1, argv + argc);
  std::string option;
  if (!paths.empty() && paths[0].rfind("--", 0) == 0) {
    option = paths[0];
    paths.erase(paths.begin());
  }
  if (paths.empty()) return usage("no script");
  if (option == "--update" && std::getenv("CI") != nullptr) return usage("--update is not for CI");
  std::vector<Script> scripts(paths.size());
  std::transform(paths.begin(), paths.end(), scripts.begin(), readScript);
  if (option == "--memory" || option == "--soak") {
    return sweepMemory(program, scripts, option == "--soak") ? 0 : 1;
  }
  if (option == "--nulls") return sweepNulls(program, scripts) ? 0 : 1;
  if (!option.empty() && option != "--update") return usage("unknown option " + option);
  bool asExpected = true;
  for (const Script& script : scripts) asExpected &= runScript(program, script, !option.empty());
  return asExpected ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}

}  // namespace zdb::script
