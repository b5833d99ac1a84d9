// Checks over scripts beside those of their expectations. Both say what is wrong, or nothing, and
// add to `tried` how much they tried.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "script/run.h"

namespace zdb::script {

struct MemoryRules {
  std::function<std::string(void* object)> picture;  ///< all that an object holds, as a text
  std::set<std::string> leavePart;                   ///< functions that may have done a part
  std::set<std::string> words;                       ///< of the host's own that are tried as well
  std::map<std::string, std::string> blamed;  ///< functions for which the message names another
  std::set<std::string> spoiling;  ///< statements that a failure makes impossible; not tried
};

/// Makes the first, second, ... allocation of each statement fail: it must say so and leave what
/// `picture` gives as it was, and the statement and all that follow must then go as expected.
std::string sweepMemory(Host& host, const Way& way, const Script& script, const MemoryRules& rules,
                        int& tried);

/// What comes of a null argument unless it is refused by name, as regular expressions of all that a
/// call gives: by "function.argument", by kind of handle, and by "*" for the rest.
using NullAnswers = std::map<std::string, std::string>;

/// Calls each function but some with each pointer argument null in turn, and without its object.
/// Arguments are those of the first success in a script, which each function must have.
std::string sweepNulls(Host& host, const Way& way, const std::vector<Script>& scripts,
                       const NullAnswers& answers, const std::set<std::string>& untried,
                       int& tried);

}  // namespace zdb::script
