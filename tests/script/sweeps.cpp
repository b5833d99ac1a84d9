#include "script/sweeps.h"

#include <optional>
#include <regex>
#include <utility>

#include "support/allocations.h"

namespace zdb::script {

namespace {

std::string complaint(const Script& script, const Statement& statement, const std::string& what,
                      const std::string& actual) {
  return script.path + ":" + std::to_string(statement.line) + ": " + what + "\n  " +
         statement.source + "\n  actual: " + actual + "\n";
}

/// Runs a script with one allocation of one statement failing. False if it makes fewer.
bool failsOnce(Run& run, const Script& script, std::size_t position, std::uint64_t number,
               const MemoryRules& rules, std::string& wrong) {
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
  if (!std::regex_match(actual,
                        std::regex("(0|null).*" + said + "\" prints " + said + R"re(\\n")re"))) {
    wrong += complaint(script, statement, what + "not said so", actual);
  }
  if (rules.leavePart.count(statement.name) == 0 && picture() != before) {
    wrong += complaint(script, statement, what + "changed something", picture());
  }
  for (std::size_t i = position; i < script.statements.size(); ++i) {
    const Statement& next = script.statements[i];
    const std::string then = run.execute(next);
    if (then == run.way.inSettings(next.expected)) continue;
    wrong += complaint(script, next, what + "then, after " + statement.source, then);
  }
  return true;
}

}  // namespace

std::string sweepMemory(Host& host, const Way& way, const Script& script, const MemoryRules& rules,
                        int& tried) {
  std::string wrong;
  for (std::size_t i = 0; i < script.statements.size(); ++i) {
    const Statement& statement = script.statements[i];
    if (host.functions.count(statement.name) == 0 || rules.spoiling.count(statement.source) != 0)
      continue;
    for (std::uint64_t number = 1;; ++number, ++tried) {
      Run run(host, way);
      if (!failsOnce(run, script, i, number, rules, wrong)) break;
    }
  }
  return wrong;
}

namespace {

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

/// Runs a script up to a statement and another one in its place.
std::string executeAt(Host& host, const Way& way, const Place& place, const Statement& instead) {
  Run run(host, way);
  for (std::size_t i = 0; i < place.second; ++i) run.execute(place.first->statements[i]);
  return run.execute(instead);
}

/// What may come of a null argument.
std::string answerTo(const NullAnswers& answers, const Function& function, std::size_t i) {
  const std::string& argument = function.names[i];
  const Parameter& parameter = function.parameters[i];
  const std::string named = function.name + ": argument " + argument + " must not be null";
  for (const std::string& key :
       {function.name + "." + argument, std::string(parameter.isArray ? "*" : parameter.kind),
        std::string("*")}) {
    const auto known = answers.find(key);
    if (known != answers.end()) return "0.*\"" + named + "\"|" + known->second;
  }
  return named;
}

/// A call of a function as one of its twin with a null status.
Statement asTwin(Statement statement, const Function& function, const Function& twin) {
  statement.name = twin.name;
  std::vector<Token>& arguments = statement.arguments;
  const auto out = arguments.begin() + static_cast<std::ptrdiff_t>(handedOut(function));
  if (arguments.size() == twin.parameters.size()) arguments.erase(out);
  arguments.push_back({Token::Null, "", {}});
  return statement;
}

}  // namespace

std::string sweepNulls(Host& host, const Way& way, const std::vector<Script>& scripts,
                       const NullAnswers& answers, const std::set<std::string>& untried,
                       int& tried) {
  std::string wrong;
  const std::map<std::string, Place> places = successes(host, way, scripts);
  for (const auto& [name, function] : host.functions) {
    if (name.ends_with("Py") || untried.count(name) != 0 || !function.takesObject) continue;
    const auto known = places.find(name);
    if (known == places.end()) {
      wrong += name + ": succeeds in no script\n";
      continue;
    }
    const Place& place = known->second;
    const Statement& statement = place.first->statements[place.second];
    const auto expect = [&](const Statement& other, const std::string& answer) {
      const std::string actual = executeAt(host, way, place, other);
      const bool isGood = std::regex_match(actual, std::regex(answer));
      if (!isGood) wrong += complaint(*place.first, other, "with a null for one of these", actual);
      ++tried;
    };
    for (std::size_t i = 0; i < function.parameters.size(); ++i) {
      const Parameter& parameter = function.parameters[i];
      const bool isNumber = parameter.shape == Shape::Int || parameter.shape == Shape::Double;
      if ((isNumber && !parameter.isArray) || statement.arguments[i].kind == Token::Null) continue;
      Statement other = statement;
      other.arguments[i] = {Token::Null, "", {}};
      other.source += ", argument " + function.names[i];
      expect(other, answerTo(answers, function, i));
    }
    Statement other = statement;
    other.object = "null";
    expect(other, R"re(0([^"]|"")*)re");
    const auto twin = host.functions.find(name + "Py");
    if (twin == host.functions.end()) continue;
    expect(asTwin(statement, function, twin->second),
           "null.*\"" + name + "Py: argument status must not be null\"");
  }
  return wrong;
}

}  // namespace zdb::script
