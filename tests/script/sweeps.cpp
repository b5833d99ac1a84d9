#include <algorithm>
#include <cerrno>
#include <climits>
#include <iostream>
#include <optional>
#include <regex>

#include "script/driver.h"
#include "support/allocations.h"
#include "support/systemcalls.h"

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

/// Whether a table has a row for a function, and for what came of it.
bool isListed(const std::map<std::string, std::string>& table, const std::string& name) {
  return std::ranges::any_of(
      table, [&](const auto& row) { return std::regex_match(name, std::regex(row.first)); });
}
bool isListed(const std::vector<std::pair<std::string, std::string>>& table,
              const std::string& name, const std::string& actual) {
  return std::ranges::any_of(table, [&](const auto& row) {
    return std::regex_match(name, std::regex(row.first)) &&
           std::regex_match(actual, std::regex(row.second));
  });
}

/// A kind of fault. Lasting ones are for the whole run.
struct Fault {
  const char* name;
  const test::SystemFault* kind;  ///< null: of an allocation
  bool isLasting;
  bool mayFail = true;  ///< if not, the call does what it does without
};
using test::Call, test::Event;
constexpr test::Calls kFileWork = {Call::Open,   Call::Read, Call::Write, Call::Sync,
                                   Call::Rename, Call::Link, Call::Close, Call::Memory};
constexpr test::SystemFault kBroken = {Event::Error, kFileWork, EIO};
constexpr test::SystemFault kFull = {Event::Error, kFileWork, ENOSPC};
constexpr test::SystemFault kInterrupted = {
    Event::Error, {Call::Open, Call::Read, Call::Write, Call::Sync, Call::Close}, EINTR};
constexpr test::SystemFault kShort = {Event::ShortCount, {Call::Read, Call::Write}};
constexpr Fault kFaults[] = {
    {"allocation", nullptr, false},
    {"allocation and on", nullptr, true},
    {"EIO", &kBroken, false},
    {"EIO and on", &kBroken, true},
    {"ENOSPC", &kFull, false},
    {"ENOSPC and on", &kFull, true},
    {"EINTR", &kInterrupted, false, false},
    {"short count", &kShort, false, false},
};

/// One statement of a script, run with faults.
class Starved {
 public:
  Starved(const Program& program, const Way& way, const Script& script, std::size_t position,
          Findings& findings)
      : program_(program),
        rules_(program.rules),
        way_(way),
        script_(script),
        position_(position),
        statement_(script.statements[position]),
        findings_(findings) {}

  /// False if it makes fewer allocations than `number`.
  bool failsAt(std::uint64_t number, const Fault& fault) {
    what_ = fault.name + (" " + std::to_string(number)) + " failed: ";
    // What stays for good, and is not lost, does not come again the second time.
    return failsNow(number, fault, true) && (!hasLost_ || failsNow(number, fault, false));
  }

 private:
  void complain(const std::string& what, const std::string& actual) {
    findings_.complain(script_, statement_, what_ + what, actual);
  }

  bool failsNow(std::uint64_t number, const Fault& fault, bool isFirst) {
    test::Allocations watch;
    const bool hasFailed = tryOnce(watch, number, fault);
    hasLost_ = hasFailed && watch.liveBytes() > 0;
    if (hasLost_ && !isFirst) complain("lost", std::to_string(watch.liveBytes()) + " bytes");
    return hasFailed;
  }

  std::string pictures(const Run& run) const {
    std::string all;
    for (const auto& [name, object] : run.objects) all += rules_.picture(object) + "\n";
    return all;
  }

  bool isExpected(const Statement& statement, const std::string& actual) const {
    return actual == way_.inSettings(statement.expected);
  }

  bool saysSo(const std::string& actual) const {
    const std::string& name = statement_.name;
    const auto blamed = rules_.blamed.find(name);
    const std::string by = blamed == rules_.blamed.end() ? name : blamed->second;
    const std::string said = "\"Out of memory in (" + by + ")";
    const std::regex answer("(0|null).*" + said + "\" prints \".*" + said.substr(1) +
                            R"re(\\n")re");
    const bool isOtherRefusal = statement_.expected[0] == '0' && actual.starts_with("0 \"");
    return isOtherRefusal || std::regex_match(actual, answer) ||
           isListed(rules_.failures, name, actual);
  }

  void checkFiles(const std::map<std::string, std::string>& before) {
    const std::map<std::string, std::string> now = rules_.files();
    for (const auto& [name, bytes] : before) {
      if (!now.contains(name)) complain("lost a file", name);
    }
    for (const auto& [name, bytes] : now) {
      const auto old = before.find(name);
      if (old != before.end() && old->second == bytes) continue;
      if (!rules_.isWholeFile(name)) complain("left a part of a file", name);
    }
  }

  bool tryOnce(test::Allocations& watch, std::uint64_t number, const Fault& fault) {
    Run run(program_.host, way_);
    for (std::size_t i = 0; i < position_; ++i) run.execute(script_.statements[i]);
    run.object(statement_.object);
    const std::string before = pictures(run);
    std::map<std::string, std::string> files;
    if (rules_.files) files = rules_.files();
    bool hasFailed = false;
    const bool isMemory = fault.kind == nullptr;
    std::optional<test::SystemFaults> faults;
    run.beforeCall = [&] {
      if (isMemory) return watch.arm(number, fault.isLasting);
      faults.emplace(*fault.kind, static_cast<int>(number), fault.isLasting ? INT_MAX : 1);
    };
    run.afterCall = [&] {
      watch.disarm();
      hasFailed = isMemory ? watch.hasFailed() : faults->injected() > 0;
      faults.reset();
    };
    const std::string actual = run.execute(statement_);
    run.beforeCall = run.afterCall = nullptr;
    const bool isDone = statement_.expected[0] != '0' && isExpected(statement_, actual);
    if (hasFailed && !isDone) {
      const bool isSaid =
          isMemory ? saysSo(actual) : std::regex_match(actual, std::regex("0.*\".+\".*"));
      const bool isSame = isExpected(statement_, actual);
      if (!isSame && (!isSaid || !fault.mayFail)) complain("not said so", actual);
      if (!isListed(rules_.leavePart, statement_.name) && pictures(run) != before) {
        complain("changed something", pictures(run));
      }
    }
    if (hasFailed && !isDone && rules_.files) checkFiles(files);
    if (!isDone) check(run);
    goOn(run, isDone ? position_ + 1 : position_);
    check(run);
    return hasFailed;
  }

  void goOn(Run& run, std::size_t from) {
    bool isSame = true;  // what is refused again may change all that comes after it
    for (std::size_t i = from; i < script_.statements.size(); ++i) {
      const Statement& next = script_.statements[i];
      const std::string then = run.execute(next);
      if (run.host.words.count(next.name) != 0 && isListed(rules_.spared, next.name)) continue;
      const bool isLoaded = next.expected.starts_with(then + " prints ");  // and not once more
      if (!isSame || isLoaded || isExpected(next, then)) continue;
      // What fails anyway may do so after a part, and do another one when it is called again.
      const bool isRetry = i == position_ && next.expected[0] == '0';
      isSame = !isRetry && !isListed(rules_.refusals, next.name, then);
      if (isSame)
        findings_.complain(script_, next, what_ + "then, after " + statement_.source, then);
    }
  }

  void check(Run& run) {
    const auto object = run.objects.find(statement_.object);
    if (!rules_.check || object == run.objects.end()) return;
    const std::string wrong = rules_.check(run, object->second);
    if (!wrong.empty()) complain("saved and read back", wrong);
  }

  const Program& program_;
  const SweepRules& rules_;
  const Way& way_;
  const Script& script_;
  const std::size_t position_;
  const Statement& statement_;
  Findings& findings_;
  std::string what_;
  bool hasLost_ = false;
};

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

bool sweepMemory(const Program& program, const std::vector<Script>& scripts, bool all) {
  Findings findings;
  std::map<std::string, int> ofKind;
  std::vector<const Way*> ways;
  for (const Way& way : program.ways) {
    if (!way.after && !way.usesTwins) ways.push_back(&way);
  }
  for (const Script& script : scripts) {
    const int before = findings.tried;
    for (std::size_t i = 0; i < script.statements.size(); ++i) {
      const Statement& statement = script.statements[i];
      const bool isFunction = program.host.functions.count(statement.name) != 0;
      if (!isFunction || isListed(program.rules.spared, statement.name)) continue;
      for (std::size_t way = 0; way < ways.size(); ++way) {
        const bool isTurn = i % ways.size() == way;
        Starved starved(program, *ways[way], script, i, findings);
        for (const Fault& fault : kFaults) {
          if (fault.isLasting ? !(all && isTurn) : !(all || isTurn)) continue;
          const std::regex files(program.rules.fileWork);
          if (fault.kind != nullptr && !std::regex_match(statement.name, files)) continue;
          for (std::uint64_t n = 1; starved.failsAt(n, fault); n += all ? 1 : 1 + n / 4) {
            ++findings.tried;
            ++ofKind[fault.name];
          }
        }
      }
    }
    std::cerr << script.path << ": " << findings.tried - before << '\n';
  }
  for (const auto& [kind, count] : ofKind) std::cerr << kind << ": " << count << '\n';
  return findings.conclude("faults");
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
