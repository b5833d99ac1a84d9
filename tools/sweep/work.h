#pragma once

#include <functional>
#include <string>

#include "sweep/crew.h"

namespace zdb::sweep {

/// The result of a task, or why there is none.
struct Answer {
  bool isFailed = false;
  std::string content;
};

/// What all workers do. What it throws ends its worker.
using Work = std::function<Answer(Task)>;

/// Does a task and takes the time.
Event perform(const Work& work, std::size_t worker, Task task);

/// One worker, this process itself, which does a task whenever wait() is called. What the work
/// throws leaves wait().
class SoloCrew : public Crew {
 public:
  explicit SoloCrew(Work work) : work_(std::move(work)) {}

  std::size_t size() const override { return 1; }
  std::string fill(std::size_t /*worker*/) override { return {}; }
  void send(std::size_t worker, std::span<const Task> tasks) override;
  Event wait() override;

 private:
  Work work_;
  std::span<const Task> tasks_;
};

}  // namespace zdb::sweep
