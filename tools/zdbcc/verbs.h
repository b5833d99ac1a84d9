#pragma once

#include <string_view>
#include <vector>

#include "verb.h"

namespace zdb::tool {

/// The table of verbs.def.
const std::vector<Verb>& verbs();

/// Null if there is no such verb.
const Verb* findVerb(std::string_view name);
/// Throws WrongUseError, with a guess.
const Verb& requireVerb(std::string_view name);

/// Options of the tool itself, which may stand before or after the verb.
struct CommonOptions {
  When color = When::Auto;
  bool help = false;
  bool version = false;
  bool describe = false;
};

const std::vector<Option>& commonOptions();

/// What exit codes mean in all verbs that do not say otherwise.
const std::vector<ExitText>& commonExitCodes();

#define ZDB_VERB(name) Verb name##Verb();
#include "verbs.def"
#undef ZDB_VERB

}  // namespace zdb::tool
