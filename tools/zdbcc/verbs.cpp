#include "verbs.h"

#include <filesystem>

#include "guess.h"

namespace zdb::tool {

const std::vector<Verb>& verbs() {
  static const std::vector<Verb> all = {
#define ZDB_VERB(name) name##Verb(),
#include "verbs.def"
#undef ZDB_VERB
  };
  return all;
}

const Verb* findVerb(std::string_view name) {
  for (const Verb& verb : verbs()) {
    if (name == verb.name) return &verb;
  }
  return nullptr;
}

const Verb& requireVerb(std::string_view name) {
  if (const Verb* verb = findVerb(name)) return *verb;
  Guess guess(name);
  for (const Verb& verb : verbs()) guess.consider(verb.name);
  std::error_code missing;
  if (std::filesystem::exists(name, missing)) {
    throw WrongUseError(printable(name) + " is not a verb; did you mean zdbcc info " +
                        printable(name) + '?');
  }
  throw WrongUseError("there is no verb " + printable(name) + guess.text());
}

const std::vector<Option>& commonOptions() {
  static const std::vector<Option> options = {
      {.name = "color",
       .value = "WHEN",
       .kind = Kind::Choice,
       .text = "Whether to use colours",
       .details = "`auto` colours what goes to a terminal, unless `NO_COLOR` is set.",
       .target = into(&CommonOptions::color, {"auto", "always", "never"})},
      {.name = "help",
       .letter = 'h',
       .text = "Show help, with examples",
       .target = into(&CommonOptions::help)},
      {.name = "version", .text = "Show the version", .target = into(&CommonOptions::version)},
      {.name = "describe",
       .text = "Describe all verbs and options as JSON",
       .target = into(&CommonOptions::describe)},
  };
  return options;
}

const std::vector<ExitText>& commonExitCodes() {
  static const std::vector<ExitText> codes = {
      {ExitCode::Done, "Done, also if the reader of a pipe stops early, as `head` does."},
      {ExitCode::Failed, "Failed, or done in part; the reasons are on standard error."},
      {ExitCode::WrongUse, "The command line is wrong; nothing was done."},
      {ExitCode::Interrupted, "Ended by Ctrl-C."},
  };
  return codes;
}

}  // namespace zdb::tool
