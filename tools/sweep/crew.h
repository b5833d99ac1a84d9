// The workers among whom a scheduler divides tasks, whatever they are: this process, processes on
// this machine, processes on others.
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>

#include "sweep/outcome.h"

namespace zdb::sweep {

/// What a crew tells of one of its workers.
struct Event {
  enum class Kind {
    Nothing,  ///< time to ask whether the user has lost patience
    Result,   ///< of the first task that the worker still has to do
    Failure,  ///< the same, and `text` says why there is no result
    Death,    ///< the worker is no more; `text` says how it ended, such as "signal 9 (Killed)"
  };

  Kind kind = Kind::Nothing;
  std::size_t worker = 0;
  Task task = 0;
  double seconds = 0;  ///< that the task took
  std::string text = {};
};

/// No crew, or none any more.
class CrewError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Has places for workers, numbered from 0 on, all vacant at first. A worker does the tasks that
/// it is sent in their order, and tells each result at once.
class Crew {
 public:
  Crew() = default;
  virtual ~Crew() = default;
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  virtual std::size_t size() const = 0;
  /// A name for people.
  virtual std::string name(std::size_t worker) const { return std::to_string(worker + 1); }
  /// Puts a new worker in a place, whose earlier worker, if any, is ended, and returns an empty
  /// text; or says why none can be had, and the place then stays vacant for good.
  virtual std::string fill(std::size_t worker) = 0;
  /// REQUIRES that the worker has nothing to do. If it died in the meantime, wait() will tell.
  virtual void send(std::size_t worker, std::span<const Task> tasks) = 0;
  /// Waits until something happens, but not for ever: now and then it returns Nothing.
  virtual Event wait() = 0;
};

}  // namespace zdb::sweep
