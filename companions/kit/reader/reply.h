// How the reader program answers.
#pragma once

#include <string>

namespace zdb::kit::modelfile {

/// Sends the result, or the text of a failure, and ends the program, so that they may be called
/// from any depth of a library that cannot be left otherwise.
[[noreturn]] void succeed(const std::string& result);
[[noreturn]] void fail(const std::string& text);

}  // namespace zdb::kit::modelfile
