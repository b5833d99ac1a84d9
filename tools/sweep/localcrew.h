#pragma once

#include <deque>
#include <string>
#include <vector>

#include "sweep/childprocess.h"
#include "sweep/message.h"
#include "sweep/work.h"

namespace zdb::sweep {

/// Worker processes on this machine. Each is a copy of this process at the time when it is needed,
/// and shares the memory that neither changes: what the work needs should be there before, but no
/// thread may run, and nothing be in the making.
class LocalCrew : public Crew {
 public:
  LocalCrew(std::size_t workers, Work work);

  std::size_t size() const override { return workers_.size(); }
  std::string fill(std::size_t worker) override;
  void send(std::size_t worker, std::span<const Task> tasks) override;
  /// Returns after a tenth of a second if there is nothing to tell, and at once after a signal.
  Event wait() override { return wait(-1); }
  /// The same, but also returns Nothing when there is something to read from a descriptor.
  Event wait(int alsoFrom);

 private:
  struct Worker {
    ChildProcess process;
    MessageStream stream;
  };

  void poll(int alsoFrom);
  void receive(std::size_t worker);
  void takeMessages(std::size_t worker);
  void bury(std::size_t worker, const std::string& how);

  Work work_;
  std::vector<Worker> workers_;
  std::deque<Event> events_;
};

}  // namespace zdb::sweep
