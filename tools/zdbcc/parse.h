#pragma once

#include <any>
#include <string>
#include <vector>

#include "verbs.h"

namespace zdb::tool {

/// A command line that has been understood.
struct Command {
  const Verb* verb = nullptr;  ///< null if none was named
  std::any options;            ///< of the verb
  CommonOptions common;
};

/// Reads the words after the program's name. Options may stand anywhere after the verb, as
/// --name VALUE, --name=VALUE, -n VALUE or -nVALUE; after "--" there are none. A word that is
/// missing is not an error if help is asked for. Throws WrongUseError, which names the option, the
/// value and what to do.
Command parse(const std::vector<std::string>& words);

/// The option with this name or letter of a verb (may be null) or of the tool; null if none.
const Option* findOption(const Verb* verb, std::string_view name);
const Option* findOption(const Verb* verb, char letter);

/// As on the command line: "--no-counts".
std::string spelling(const Option& option);

}  // namespace zdb::tool
