// One run of a script: its objects, its variables, its calls.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "script/functiontable.h"
#include "script/script.h"

namespace zdb::script {

class Run;

/// A way to run scripts. Each script runs all ways, and all must look the same.
struct Way {
  std::string name;
  bool usesShortStrings = false;                ///< short-string forms where there are such
  bool usesTwins = false;                       ///< nameTwin of functions and flat forms likewise
  std::map<std::string, std::string> settings;  ///< what %name stands for
  std::function<void()> enter, leave;           ///< around a whole script; may be empty
  std::function<void(Run&)> afterStatement;     ///< may be empty
};

/// What a set of functions needs to be called from scripts.
class Host {
 public:
  virtual ~Host() = default;
  virtual const FunctionTable& functions() const = 0;

  /// The object behind @name, made when it is first named and destroyed after the run.
  virtual void* create(const Way& way) = 0;
  virtual void destroy(void* object) = 0;
  /// Makes the object's last message a known one, so that `message` tells a call that leaves none
  /// from one that leaves the same again.
  virtual void mark(void* object) = 0;
  /// The message that was left since mark(), or nothing.
  virtual std::string message(void* object) = 0;
  /// A handle as it is printed. Null handles are never asked for.
  virtual std::string describe(void* object, const std::string& kind, void* handle) = 0;
  virtual void release(void* object, const std::string& kind, void* handle) = 0;
  /// Whether a success of this function releases its first handle.
  virtual bool releases(const std::string& function) const = 0;
  /// What &name stands for.
  virtual AnyFunction callback(const std::string& name) const = 0;
  /// Runs a word of the host's own, which is no function; what it gives is compared like a call's.
  virtual std::string word(Run& run, const Statement& statement) = 0;
  virtual bool isWord(const std::string& name) const = 0;
};

struct Variable {
  std::string kind;
  void* handle = nullptr;
  void* object = nullptr;  ///< which it was got from
};

class Run {
 public:
  Run(Host& host, const Way& way) : host_(host), way_(way) {}
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// Runs a statement and gives what is to be compared with the expectation. Throws ScriptError
  /// for one that cannot be run.
  std::string execute(const Statement& statement);

  const Way& way() const { return way_; }
  void* object(const std::string& name);
  std::map<std::string, void*>& objects() { return objects_; }
  std::map<std::string, Variable>& variables() { return variables_; }
  const Variable& variable(const Token& token) const;

  /// Called right around the call of each statement; may be empty.
  std::function<void()> beforeCall, afterCall;

 private:
  std::string call(void* object, const Function& function, const Statement& statement);
  std::string repeat(const Statement& statement);
  void assign(const std::string& name, const std::string& kind, void* handle, void* object,
              bool wasReleased);
  std::string resolved(const Token& token) const;

  friend class Argument;
  Host& host_;
  const Way& way_;
  std::map<std::string, void*> objects_;
  std::map<std::string, Variable> variables_;
};

/// Complains about a statement that names no function or word, or passes what does not fit.
void checkStatement(const Host& host, const Statement& statement);

/// Takes what this process has written to standard output since the last call. The first call sends
/// standard output away.
std::string takeOutput();

}  // namespace zdb::script
