#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "exitcode.h"
#include "output.h"
#include "terminal.h"

namespace zdb::tool {

/// Standard output and standard error. Output is buffered and written in large pieces. A problem
/// that is reported makes the program exit with ExitCode::Failed, but the verb continues.
///
/// The first console takes standard output for itself: whatever else the process prints there, such
/// as a library that reports a lack of memory, goes to standard error and not into a table.
///
/// A host that has verbs as a part of it derives a console of its own, which leaves the streams and
/// signals of the process alone.
class Console : public Output {
 public:
  Console();
  ~Console() override;

  const Terminal& terminal() const { return terminal_; }
  void decideTerminal(When color);

  /// Adds to standard output. Throws OutputError if the output cannot be written, ClosedPipeError
  /// if nobody reads it any more.
  void write(std::string_view text) override;
  /// Writes out everything that is buffered. Throws as write().
  void flush();
  /// Prints a line on standard error, after the output so far. Does not throw ToolError.
  void report(std::string_view problem);
  /// The same for information that is not a problem: the program may still exit with 0.
  void note(std::string_view fact);
  /// A line of another program's log on standard error.
  void log(std::string_view line);
  bool hasProblems() const { return hasProblems_; }

  /// Whether Ctrl-C is the verb's to handle; else a host tells of it.
  bool handlesInterrupts() const { return handlesInterrupts_; }
  /// Whether a host wants the work to end. Long work asks now and then.
  virtual bool isInterrupted() { return false; }

  /// A line on standard error that the next one replaces, and the next output clears.
  void showBar(std::string_view bar);
  void clearBar();

 protected:
  /// For a host, which overrides write() as well. REQUIRES the terminal is not written to.
  explicit Console(const Terminal& terminal) : terminal_(terminal), handlesInterrupts_(false) {}
  virtual void printLine(std::string_view text, bool isProblem);

 private:
  bool push();

  std::FILE* output_ = nullptr;
  Terminal terminal_;
  std::string pending_;
  int outputError_ = 0;  ///< errno of the first failed write
  bool hasProblems_ = false;
  bool hasBar_ = false;
  bool handlesInterrupts_ = true;
};

/// The text with a question mark for each control character: text from a file must not break a line
/// or control a terminal.
std::string printable(std::string_view text);

/// A line of a report: a name of up to ten letters, what it stands for beside it.
std::string reportLine(std::string_view name, std::string_view text);

/// "1 record", "2 records".
std::string counted(unsigned long long count, std::string_view what);

}  // namespace zdb::tool
