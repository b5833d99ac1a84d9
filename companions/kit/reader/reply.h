// How the reader program replies.
#pragma once

#include <string>

namespace zdb::kit::modelfile {

/// Send the result, or the text of an error, and end the program. They can be called from within
/// GLPK, which cannot be left in any other way.
[[noreturn]] void succeed(const std::string& result);
[[noreturn]] void fail(const std::string& text);

}  // namespace zdb::kit::modelfile
