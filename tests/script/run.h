// One run of a script: its objects, its variables, its calls.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "script/functiontable.h"
#include "script/script.h"

namespace zdb::script {

class Argument;
class Run;

/// A way to run scripts. Each script runs all ways, and all must look the same.
struct Way {
  std::string name;
  bool usesShortStrings = false;  ///< short-string forms where there are such
  bool usesTwins = false;         ///< functions with Py behind their names, and flat forms
  std::map<std::string, std::string> settings;  ///< what %name stands for
  std::function<void()> enter, leave;           ///< around a whole script; may be empty
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

  /// The object behind @name, made when it is first named and destroyed after the run; @null is
  /// none.
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
  /// Words of the host's own, which are no functions; what they give is compared like a call's.
  using Word = std::function<std::string(Run&, const Statement&)>;

  const FunctionTable functions;
  std::map<std::string, Word> words;
};

struct Variable {
  std::string kind;
  void* handle = nullptr;
  void* object = nullptr;  ///< which it was got from
};

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
  /// The value of a token that stands for one of this shape.
  Slot value(const Token& token, const Parameter& parameter);
  /// A value as it is printed.
  std::string shownValue(void* object, const Parameter& parameter, const Slot& value);
  std::string shownHandle(const Variable& variable) const;
  std::string resolved(const Token& token) const;

  Host& host;
  const Way& way;
  std::map<std::string, void*> objects;
  std::map<std::string, Variable> variables;
  std::function<void()> beforeCall, afterCall;  ///< right around each call; may be empty

 private:
  std::string call(const Statement& statement);
  std::string repeat(const Statement& statement);
  std::string report(void* target, const Function& function, const Slot& result,
                     const std::vector<Argument>& arguments);
  void keepHandles(void* target, const Argument& argument, bool wereReleased);
  void assign(const std::string& name, const Variable& variable, bool wasReleased);
};

/// The argument of a function that its twin returns: the last handle that it puts somewhere.
std::size_t handedOut(const Function& function);

/// Takes what this process has written to standard output since the last call. The first call sends
/// standard output away.
std::string takeOutput();

}  // namespace zdb::script
