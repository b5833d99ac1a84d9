#include <iostream>
#include <optional>
#include <regex>

#include "script/driver.h"
#include "support/allocations.h"

namespace zdb::script {

namespace {

/// What a sweep found, on standard error as it comes.
struct Findings {
  int tried = 0;
  bool isGood = true;

  void complain(const Script& script, const Statement& statement, const std::string& what,
                const std::string& actual) {
    isGood = false;
    std::cerr << script.path << ':' << statement.line << ": " << what << "\n  " << statement.source
              << "\n  actual: " << actual << '\n';
  }
  bool conclude(const char* what) const {
    std::cerr << tried << ' ' << what << '\n';
    return isGood && tried > 0;
  }
};

/// Runs a script with one allocation of one statement failing. False if it makes fewer.
bool failsOnce(Run& run, const Script& script, std::size_t position, std::uint64_t number,
               const SweepRules& rules, Findings& findings) {
  const auto picture = [&] {
    std::string all;
    for (const auto& [name, object] : run.objects) all += rules.picture(object) + "\n";
    return all;
  };
  for (std::size_t i = 0; i < position; ++i) run.execute(script.statements[i]);
  const Statement& statement = script.statements[position];
  run.object(statement.object);
  const std::string before = picture();
  std::optional<test::Allocations> watch;
  bool hasFailed = false;
  run.beforeCall = [&] { watch.emplace(number); };
  run.afterCall = [&] {
    hasFailed = watch->hasFailed();
    watch.reset();
  };
  const std::string actual = run.execute(statement);
  run.beforeCall = run.afterCall = nullptr;
  if (!hasFailed) return false;

  const std::string what = "allocation " + std::to_string(number) + " failed: ";
  const auto blamed = rules.blamed.find(statement.name);
  const std::string& name = blamed == rules.blamed.end() ? statement.name : blamed->second;
  const std::string said = "\"Out of memory in (" + name + ")";
  const std::regex answer("(0|null).*" + said + "\" prints " + said + R"re(\\n")re");
  if (!std::regex_match(actual, answer)) {
    findings.complain(script, statement, what + "not said so", actual);
  }
  if (rules.leavePart.count(statement.name) == 0 && picture() != before) {
    findings.complain(script, statement, what + "changed something", picture());
  }
  for (std::size_t i = position; i < script.statements.size(); ++i) {
    const Statement& next = script.statements[i];
    const std::string then = run.execute(next);
    if (then == run.way.inSettings(next.expected)) continue;
    findings.complain(script, next, what + "then, after " + statement.source, then);
  }
  return true;
}

using Place = std::pair<const Script*, std::size_t>;

/// Where each function succeeds first.
std::map<std::string, Place> successes(Host& host, const Way& way,
                                       const std::vector<Script>& scripts) {
  std::map<std::string, Place> places;
  for (const Script& script : scripts) {
    Run run(host, way);
    for (std::size_t i = 0; i < script.statements.size(); ++i) {
      const std::string actual = run.execute(script.statements[i]);
      if (actual[0] == '1') places.try_emplace(script.statements[i].name, &script, i);
    }
  }
  return places;
}

/// Runs a script up to a statement and others in its place, each in a run of its own.
void tryNulls(const Program& program, const Way& way, const Place& place, Findings& findings) {
  const Statement& statement = place.first->statements[place.second];
  const Function& function = program.host.functions.find(statement.name)->second;
  const auto expect = [&](const Statement& other, const std::string& answer) {
    Run run(program.host, way);
    for (std::size_t i = 0; i < place.second; ++i) run.execute(place.first->statements[i]);
    const std::string actual = run.execute(other);
    ++findings.tried;
    if (std::regex_match(actual, std::regex(answer))) return;
    findings.complain(*place.first, other, "wrong with a null", actual);
  };
  Statement other = statement;
  for (std::size_t i = 0; i < function.parameters.size(); ++i) {
    const Parameter& parameter = function.parameters[i];
    const bool isNumber = parameter.shape == Shape::Int || parameter.shape == Shape::Double;
    if ((isNumber && !parameter.isArray) || statement.arguments[i].kind == Token::Null) continue;
    other = statement;
    other.arguments[i] = {Token::Null, "", {}};
    other.source += ", null " + function.names[i];
    std::string answer =
        "0.*\"" + function.name + ": argument " + function.names[i] + " must not be null\"";
    for (const auto& [arguments, also] : program.rules.nullAnswers) {
      const bool isMeant =
          std::regex_match(function.name + "." + function.names[i], std::regex(arguments));
      if (isMeant) answer += "|" + also;
    }
    expect(other, answer);
  }
  other = statement;
  other.object = "null";
  expect(other, R"re(0([^"]|"")*)re");
}

}  // namespace

bool sweepMemory(const Program& program, const std::vector<Script>& scripts) {
  Findings findings;
  for (const Way& way : program.ways) {
    for (const Script& script : scripts) {
      if (way.after || way.usesTwins) continue;
      for (std::size_t i = 0; i < script.statements.size(); ++i) {
        const Statement& statement = script.statements[i];
        if (program.host.functions.count(statement.name) == 0) continue;
        for (std::uint64_t number = 1;; ++number, ++findings.tried) {
          Run run(program.host, way);
          if (!failsOnce(run, script, i, number, program.rules, findings)) break;
        }
      }
    }
  }
  return findings.conclude("allocations failed");
}

bool sweepNulls(const Program& program, const std::vector<Script>& scripts) {
  Findings findings;
  for (const Way& way : program.ways) {
    if (way.after) continue;
    const std::map<std::string, Place> places = successes(program.host, way, scripts);
    for (const auto& [name, function] : program.host.functions) {
      const bool isTwin = name.ends_with("Py");
      if (isTwin || !function.takesObject || program.rules.neverNull.count(name) != 0) continue;
      const auto place = places.find(name);
      if (place == places.end()) throw ScriptError(name + " succeeds in no script");
      tryNulls(program, way, place->second, findings);
    }
  }
  return findings.conclude("calls with a null");
}

}  // namespace zdb::script
