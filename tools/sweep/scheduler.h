#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sweep/chunksize.h"
#include "sweep/crew.h"

namespace zdb::sweep {

struct Policy {
  bool keepsGoing = false;    ///< after a task that failed
  double chunkSeconds = 0.1;  ///< how long a worker should be busy before it asks for more
};

enum class Ending { Done, Failed, Interrupted };

/// Divides tasks among the workers of a crew, and delivers the outcomes in the order of the tasks,
/// whoever does them and however often.
///
/// If a worker dies, the tasks that it has not done are handed out once more; if their worker dies
/// as well, one by one, each to a new worker. A task whose worker dies then counts as failed.
/// Nothing depends on the clock: how long tasks take is what the crew says.
class Scheduler {
 public:
  using Sink = std::function<void(const Outcome&)>;

  /// The crew must last as long as this. What the sink throws ends run().
  Scheduler(std::vector<Task> tasks, Crew& crew, Sink sink, const Policy& policy);

  /// Delivers all outcomes; without Policy::keepsGoing, those up to and including the first failed
  /// one, in the order of the tasks: the same ones with any crew. After each event it asks whether
  /// the user has interrupted it, and if so delivers what is done, which may have gaps, and ends.
  /// Throws CrewError if no worker is left, after the same.
  Ending run(const std::function<bool()>& isInterrupted);

 private:
  /// Consecutive tasks, by their places in tasks_.
  struct Chunk {
    enum class Try { First, Again, Alone };

    std::size_t first = 0;
    std::size_t count = 0;
    Try stage = Try::First;
    int tries = 1;
  };
  struct Place {
    std::optional<Chunk> chunk;  ///< what its worker has still to do
    bool isFilled = false;
    bool isLost = false;
  };

  void handOut();
  bool handOut(std::size_t worker);
  std::optional<Chunk> takeChunk();
  void take(Event event);
  void takeResult(Event& event);
  void lose(std::size_t worker, const std::string& how);
  void redo(const Chunk& chunk);
  void finish(std::size_t place, Outcome outcome);
  void deliver();
  void deliverEarly();

  bool isWanted(std::size_t place) const { return place < end_; }

  std::vector<Task> tasks_;
  Crew& crew_;
  Sink sink_;
  Policy policy_;
  ChunkSize chunkSize_;
  std::vector<Place> workers_;
  std::size_t next_ = 0;     ///< the first task that was never handed out
  std::size_t end_;          ///< the end of the tasks, or the first one that failed
  std::deque<Chunk> again_;  ///< whose workers died
  std::size_t delivered_ = 0;
  bool hasFailed_ = false;                ///< the last outcome that was delivered ends the run
  std::map<std::size_t, Outcome> early_;  ///< outcomes that wait for an earlier one, by place
  std::string lastDeath_;
};

}  // namespace zdb::sweep
