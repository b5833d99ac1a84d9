#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zdbtool {

/// Ends a command: the text goes to standard error and the program exits with 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The two ways out of the program. Output is collected and written in large pieces; a problem
/// reported on the way makes the program exit with 1 but lets the command go on.
class Console {
 public:
  /// Adds to standard output. Throws Failure when the output cannot be written.
  void write(std::string_view text);
  /// Hands everything written so far to the system. Throws Failure when that does not work.
  void flush();
  /// Prints one line on standard error, behind the output written so far. Does not throw Failure.
  void report(std::string_view problem);
  /// The same for what is worth knowing, but no problem: the program may still exit with 0.
  void note(std::string_view fact);
  bool hasProblems() const { return hasProblems_; }

 private:
  bool push();

  std::string pending_;
  int outputError_ = 0;  ///< errno of the first failed write
  bool hasProblems_ = false;
};

/// The text with a question mark for each control character: what comes out of a file must not
/// break a line or steer a terminal.
std::string printable(std::string_view text);

}  // namespace zdbtool
