#pragma once

#include <pybind11/pybind11.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/texts.h"
#include "zdbcc/paramvalues.h"
#include "zkitdclib.h"

namespace zdbpy {

/// Kinds of failures beside those of zdbx.h, as zdbcc._errors has them.
enum { kModelFile = 16 };

using TextRows = std::vector<std::vector<pybind11::str>>;

using zdb::tool::ParamValues;

/// A model file in memory.
struct Source {
  std::string name;  ///< for messages, and for the format if no flag has it
  std::string text;
  std::optional<std::string> dataName;
  std::string data;
  int flags = 0;

  zkitReadOptions options() const;
};

/// Numbers of a model that are set together, one after the other: of each the change that has it,
/// and the labels that this leaves open.
class Targets {
 public:
  /// Raises unless there are labels for each change.
  Targets(const Numbers& changes, const TextRows& labels);

  std::size_t size() const { return changes_.size(); }
  /// Needs no GIL. On failure `why` is a message.
  bool set(void* instance, std::size_t target, double value, std::string& why) const;
  bool exists(void* instance, std::size_t target) const;

 private:
  std::vector<int> changes_;
  std::vector<std::vector<std::string>> texts_;
  std::vector<std::vector<const char*>> labels_;
};

/// A model instance and the database that solves it. Any thread may use it: calls wait for each
/// other, without the GIL. It frees itself.
class Model {
 public:
  /// Reads the model and prepares it for solves; raises what is wrong with it. `changes` are names
  /// of what can be changed, as zkitReadModelWith() has them.
  Model(const Source& source, const std::vector<std::string>& changes, const ParamValues& params,
        const std::vector<ParamValues>& variants);
  ~Model() { release(); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  /// Calls function(instance, database), which returns what failed, without the GIL; raises that,
  /// or what a handler of a signal has raised meanwhile.
  template <typename Function>
  void call(Function&& function) {
    const std::optional<Failure> failure = tryCall(function);
    if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
    if (failure) raise(*failure);
  }
  /// The same, but returns what failed and leaves signals alone.
  template <typename Function>
  std::optional<Failure> tryCall(Function&& function) {
    refuseFromItsOwnLog();
    refuseAfterFork();
    const pybind11::gil_scoped_release release;
    const std::scoped_lock lock(mutex_);
    if (db_ == nullptr) {
      return Failure{ZDBX_HANDLE, "the model is closed; read it again", {}, -1, -1};
    }
    zdbx_clear_error(db_);
    return function(instance_, db_);
  }

  /// Frees the instance; waits for a call that another thread is in.
  void close();
  bool isClosed() const { return db_ == nullptr; }

  /// Ends a solve or a sweep of another thread soon, with what it has.
  void stop();
  /// Forgets earlier stops.
  void start() { isStopping_ = false; }
  bool isStopping() const { return isStopping_; }
  /// To be stopped by an Interrupt.
  void* instance() const { return instance_; }

  /// Solves it; the outcome is in its statuses. Lines of the solver go to `log`, unless that is
  /// None; what it raises ends the solve.
  void solve(const pybind11::str& solver, const pybind11::object& log);

 private:
  void release();
  void refuseFromItsOwnLog() const;
  void refuseAfterFork() const;
  std::optional<Failure> open(const Source& source, const std::vector<std::string>& changes,
                              const ParamValues& params, const std::vector<ParamValues>& variants);

  const pid_t process_ = getpid();  ///< solvers have threads, which do not follow into another one
  void* instance_ = nullptr;
  zdbHandle_t db_ = nullptr;
  std::mutex mutex_;
  std::mutex stopping_;  ///< an instance is not freed while somebody stops it
  std::atomic<bool> isStopping_ = false;
};

/// Has the database solve the instance; tells why it could not. Needs no GIL.
std::optional<Failure> solveOnce(void* instance, zdbHandle_t db, const char* solver);

void bindModel(pybind11::module_& module);
void bindSweep(pybind11::module_& module);

}  // namespace zdbpy
