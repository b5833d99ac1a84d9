// Tests by script: a line is a call and what must come back. README.md has the grammar; a program
// makes a Host of its functions and hands it to runProgram().
#pragma once

#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "script/functiontable.h"

namespace zdb::script {

/// Says what is wrong with a script or with a call that it makes.
struct ScriptError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Token {
  enum Kind { Null, Word, Text, Variable, Object, Blank, Callback, Setting, List };
  Kind kind;
  std::string text;  ///< without marks: the characters of a text, the name of a variable
  std::vector<Token> items;
};

struct Statement {
  int line, lastLine;  ///< of the file, from 1; continuation lines included
  std::string object, name;
  std::vector<Token> arguments;
  std::string source;  ///< all before the arrow
  std::string expected;
};

struct Script {
  std::string path;
  std::vector<std::string> lines;
  std::vector<Statement> statements;
};

/// Reads a script. Throws ScriptError with file and line for what does not parse.
Script readScript(const std::string& path);

/// A text as expectations show it: runs of 16 or more equal characters as c{n}, control characters
/// as escapes.
std::string shown(const std::string& text);
/// A number likewise: in the shortest form that reads back as the same.
std::string shown(double value);

class Argument;
class Run;

/// A way to run scripts. Each script runs all ways, and all must look the same.
struct Way {
  std::string name;
  bool usesShortStrings = false;  ///< short-string forms where there are such
  bool usesTwins = false;         ///< functions with Py behind their names, and flat forms
  std::map<std::string, std::string> settings;  ///< what %name stands for
  /// What is done after each statement, if it can be: whether it was. May be empty.
  std::function<bool(Run&)> after;
  std::map<std::string, std::string> leavesOut;  ///< names of script files, each with a reason

  /// A text with the settings in it.
  std::string inSettings(std::string text) const;
};

/// What a set of functions needs to be called from scripts.
class Host {
 public:
  explicit Host(FunctionTable table) : functions(std::move(table)) {}
  virtual ~Host() = default;
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// The object behind @name, made when it is first named and destroyed after the run.
  virtual void* create(const Way& way) = 0;
  virtual void destroy(void* object) = 0;
  /// Makes the object's last message a known one, so that `message` tells a call that leaves none
  /// from one that leaves the same again.
  virtual void mark(void* /*object*/) {}
  /// The message that was left since mark(), or nothing.
  virtual std::string message(void* /*object*/) { return {}; }
  /// A handle as it is printed; never null.
  virtual std::string describe(void* /*object*/, const std::string& kind, void* /*handle*/) {
    return kind;
  }
  virtual void release(void* /*object*/, const std::string& /*kind*/, void* /*handle*/) {}
  /// Whether a success of this function releases its first handle.
  virtual bool releases(const std::string& /*function*/) const { return false; }
  /// What &name stands for, null for what is unknown.
  virtual void* callback(const std::string& /*name*/) const { return nullptr; }
  /// Words of the host's own, which are not functions; what they give is compared like a call's.
  using Word = std::function<std::string(Run&, const Statement&)>;

  const FunctionTable functions;
  std::map<std::string, Word> words;
};

struct Variable {
  std::string kind;
  void* handle = nullptr;
  void* object = nullptr;  ///< which it was got from
};

/// One run of a script: its objects, its variables, its calls.
class Run {
 public:
  Run(Host& runHost, const Way& runWay) : host(runHost), way(runWay) {}
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// Runs a statement and gives what is to be compared with the expectation. Throws ScriptError
  /// for one that cannot be run.
  std::string execute(const Statement& statement);

  void* object(const std::string& name);
  const Variable& variable(const Token& token) const;
  /// The value of a token that stands for one of this shape, and a value as it is printed.
  Slot value(const Token& token, const Parameter& parameter);
  std::string shownValue(void* from, const Parameter& parameter, const Slot& value) const;
  std::string resolved(const Token& token) const;

  Host& host;
  const Way& way;
  std::map<std::string, void*> objects;
  std::map<std::string, Variable> variables;
  std::function<void()> beforeCall, afterCall;  ///< right around each call; may be empty

 private:
  std::string call(const Statement& statement);
  std::string repeat(const Statement& statement);
  std::string shownHandle(const Variable& variable) const;
  std::string report(void* target, const Function& function, const Slot& result,
                     const std::vector<Argument>& arguments);
  void keepHandles(void* target, const Argument& argument, bool wereReleased);
  void assign(const std::string& name, const Variable& variable, bool wasReleased);
};

/// What `--memory` and `--nulls` have to know of the functions. Names are regular expressions.
struct SweepRules {
  std::function<std::string(void* object)> picture;  ///< all that an object holds, as a text
  /// Saves what an object holds and reads it back; what is wrong then, or nothing.
  std::function<std::string(Run& run, void* object)> check = {};
  /// The files that statements work on, with their bytes, and whether one can be read to its end: a
  /// failure leaves each as it was, or a new one that is whole, and nothing beside them.
  std::function<std::map<std::string, std::string>()> files = {};
  std::function<bool(const std::string& name)> isWholeFile = {};
  /// Functions without faults, and those that may have done a part when one fails; with reasons.
  std::map<std::string, std::string> spared = {}, leavePart = {};
  /// What else a failure for lack of memory may give, and then the call when it is tried again.
  std::vector<std::pair<std::string, std::string>> failures = {}, refusals = {};
  std::string fileWork = {};  ///< functions that are tried with failing system calls as well
  std::map<std::string, std::string> blamed = {};  ///< for which the message names another function
  /// What else may come of a null argument than a refusal that names it: regular expressions of
  /// "function.argument" and of all that such a call gives.
  std::vector<std::pair<std::string, std::string>> nullAnswers = {};
  std::set<std::string> neverNull = {};  ///< functions that are not called with nulls
};

struct Program {
  Host& host;
  std::vector<Way> ways;
  SweepRules rules;
};

/// Makes the first, second, ... allocation of each statement fail: it must say so and leave what
/// `picture` gives as it was, or do what it does without a fault. What is there can then be saved
/// and read back, the statement and all that follow go as expected, or it says why not, and no
/// memory is lost. Of the ways without `after` and twins, each statement has one, and of many
/// allocations only some fail; for `all` each does in each way, and in the statement's own all from
/// there on do as well. Says what is wrong and how much was tried.
bool sweepMemory(const Program& program, const std::vector<Script>& scripts, bool all);

/// Calls each function with each pointer argument null in turn, and without its object, in the ways
/// without `after`. Arguments are those of its first success in a script, which it must have.
bool sweepNulls(const Program& program, const std::vector<Script>& scripts);

/// What main() of a program does: PROGRAM [--update | --memory | --soak | --nulls] SCRIPT...
/// Returns 0 when everything is as expected, 1 when not, 2 for wrong use.
int runProgram(int argc, char** argv, const Program& program);

}  // namespace zdb::script
