#pragma once

#include <stdexcept>

namespace zdb::tool {

/// What the tool tells its caller. A verb that answers a question (check, diff) uses Failed for the
/// answer "no", and WrongUse for everything that kept it from answering. One that was told to keep
/// going uses SomeFailed if a part of its work could not be done.
enum class ExitCode { Done = 0, Failed = 1, WrongUse = 2, SomeFailed = 3, Interrupted = 130 };

/// Ends a verb that cannot continue; the text goes to standard error.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The system does not let a verb read a file.
class InputError : public ToolError {
 public:
  using ToolError::ToolError;
};

/// What a verb writes cannot be written: none goes on after that.
class OutputError : public ToolError {
 public:
  using ToolError::ToolError;
};

/// The command line is not one that the tool understands: ExitCode::WrongUse in every verb.
class WrongUseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Who reads standard output wants no more of it: ExitCode::Done, in silence.
class ClosedPipeError : public std::exception {};

/// The user pressed Ctrl-C: ExitCode::Interrupted.
class InterruptedError : public std::exception {};

}  // namespace zdb::tool
