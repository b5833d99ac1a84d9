#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zdb::tool {

/// Ends a command: main() writes the text to standard error and exits with 1.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Standard output and standard error. Output is buffered and written in large pieces. A problem
/// that is reported makes the program exit with 1, but the command continues.
///
/// The first console takes standard output for itself: whatever else the process prints there, such
/// as a library that reports a lack of memory, goes to standard error and not into a table.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  /// Adds to standard output. Throws ToolError if the output cannot be written.
  void write(std::string_view text);
  /// Writes out everything that is buffered. Throws ToolError if that fails.
  void flush();
  /// Prints a line on standard error, after the output so far. Does not throw ToolError.
  void report(std::string_view problem);
  /// The same for information that is not a problem: the program may still exit with 0.
  void note(std::string_view fact);
  bool hasProblems() const { return hasProblems_; }

 private:
  bool push();

  std::FILE* output_;
  std::string pending_;
  int outputError_ = 0;  ///< errno of the first failed write
  bool hasProblems_ = false;
};

/// The text with a question mark for each control character: text from a file must not break a line
/// or control a terminal.
std::string printable(std::string_view text);

}  // namespace zdb::tool
