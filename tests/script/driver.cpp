#include "script/driver.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace zdb::script {

namespace {

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
    differences[{i, std::string("cannot be run: ") + error.what()}].push_back(way.name);
  }
}

std::string namesOf(const std::vector<std::string>& some, std::size_t all) {
  if (some.size() == all) return "every way";
  return std::to_string(some.size()) + " of " + std::to_string(all) + " ways, first " + some[0];
}

/// Runs a script all ways that do not leave it out; whether all was as expected.
bool runScript(const Program& program, const Script& script) {
  Differences differences;
  std::size_t ways = 0;
  for (const Way& way : program.ways) {
    if (way.leavesOut.contains(std::filesystem::path(script.path).filename())) continue;
    runOneWay(program, script, way, differences);
    ++ways;
  }
  if (ways == 0) throw ScriptError(script.path + ": no way runs it");
  for (const auto& [key, some] : differences) {
    const Statement& statement = script.statements[key.first];
    std::cerr << script.path << ':' << statement.line << ": " << namesOf(some, ways) << "\n  "
              << statement.source << "\n  expected: " << statement.expected
              << "\n  actual:   " << key.second << '\n';
  }
  return differences.empty();
}

}  // namespace

int runProgram(int argc, char** argv, const Program& program) try {
  std::vector<std::string> paths(argv + 1, argv + argc);
  std::string option;
  if (!paths.empty() && paths[0].rfind("--", 0) == 0) {
    option = paths[0];
    paths.erase(paths.begin());
  }
  if (paths.empty()) throw ScriptError("usage: PROGRAM [--memory | --nulls] SCRIPT...");
  std::vector<Script> scripts(paths.size());
  std::transform(paths.begin(), paths.end(), scripts.begin(), readScript);
  if (option == "--memory") return sweepMemory(program, scripts) ? 0 : 1;
  if (option == "--nulls") return sweepNulls(program, scripts) ? 0 : 1;
  if (!option.empty()) throw ScriptError("unknown option " + option);
  bool asExpected = true;
  for (const Script& script : scripts) asExpected &= runScript(program, script);
  return asExpected ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}

}  // namespace zdb::script
