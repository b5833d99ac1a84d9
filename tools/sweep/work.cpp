#include "sweep/work.h"

#include <chrono>
#include <utility>

namespace zdb::sweep {

Event perform(const Work& work, std::size_t worker, Task task) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  Answer answer = work(task);
  return {.kind = answer.isFailed ? Event::Kind::Failure : Event::Kind::Result,
          .worker = worker,
          .task = task,
          .seconds = std::chrono::duration<double>(Clock::now() - start).count(),
          .text = std::move(answer.content)};
}

void SoloCrew::send(std::size_t /*worker*/, std::span<const Task> tasks) {
  tasks_ = tasks;
}

Event SoloCrew::wait() {
  if (tasks_.empty()) return {};
  const Task task = tasks_.front();
  tasks_ = tasks_.subspan(1);
  return perform(work_, 0, task);
}

}  // namespace zdb::sweep
