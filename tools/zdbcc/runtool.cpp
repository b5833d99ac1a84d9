#include "runtool.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "completion.h"
#include "help.h"
#include "page.h"
#include "parse.h"
#include "zdbcclib.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

std::string version() {
  char message[ZKIT_TEXT_SIZE] = "";
  const int strength = zkitConfinement(message, sizeof message);
  std::string text = "zdbcc " ZDBCCLIB_VERSION "\nconfinement of model files: ";
  text += strength == ZKIT_CONFINED          ? "full"
          : strength == ZKIT_PARTLY_CONFINED ? "partial"
                                             : "none";
  if (*message != '\0') text += std::string(" (possible: ") + message + ")";
  return text + '\n';
}

/// Requests that no verb is for; false if it is not one of them.
bool answered(const Command& command, Console& console) {
  if (command.common.version) {
    console.write(version());
  } else if (command.common.describe) {
    describeAsJson(console);
  } else if (command.common.help) {
    showHelp(command.verb, console);
  } else {
    return false;
  }
  return true;
}

ExitCode run(const Command& command, Console& console) {
  console.decideTerminal(command.common.color);
  if (answered(command, console)) return ExitCode::Done;
  if (command.verb == nullptr) throw WrongUseError("a verb is missing");
  return command.verb->action.run(command.options, console);
}

/// A problem with the command line, and where to read on.
void refuse(const std::vector<std::string>& words, const char* problem, Console& console) {
  const Verb* verb = nullptr;
  for (const std::string& word : words) {
    if (verb == nullptr && !word.starts_with('-')) verb = findVerb(word);
  }
  std::string hint = "see zdbcc --help";
  if (verb != nullptr) hint = "usage: " + usage(*verb) + "; see zdbcc " + verb->name + " --help";
  console.report(problem);
  console.note(hint);
}

ExitCode guarded(const std::vector<std::string>& words, Console& console) {
  ExitCode failed = ExitCode::Failed;
  try {
    const Command command = parse(words);
    if (command.verb != nullptr && command.verb->isQuestion) failed = ExitCode::WrongUse;
    const ExitCode code = run(command, console);
    console.flush();
    return code == ExitCode::Done && console.hasProblems() ? ExitCode::Failed : code;
  } catch (const WrongUseError& failure) {
    refuse(words, failure.what(), console);
    return ExitCode::WrongUse;
  } catch (const ClosedPipeError&) {
    return ExitCode::Done;
  } catch (const InterruptedError&) {
    console.note("interrupted");  // after what is done
    return ExitCode::Interrupted;
  } catch (const std::bad_alloc&) {
    console.report("not enough memory");
  } catch (const std::exception& failure) {
    console.report(failure.what());
  }
  return failed;
}

}  // namespace

int runTool(const std::vector<std::string>& words) {
  // A handler, since what is ignored would be so in programs that are started from here as well.
  std::signal(SIGPIPE, [](int) {});
  Console console;
  if (!words.empty() && words.front() == "--complete") {
    complete({words.begin() + 1, words.end()}, console);
    return 0;
  }
  return static_cast<int>(guarded(words, console));
}

}  // namespace zdb::tool
