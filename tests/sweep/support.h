// What tests with real processes share.
#pragma once

#include <sys/mman.h>

#include <atomic>
#include <functional>
#include <new>
#include <numeric>
#include <vector>

#include "sweep/scheduler.h"

namespace zdb::sweep {

/// A counter that processes share with their copies.
class SharedCounter {
 public:
  SharedCounter()
      : count_(new (mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<int>(0)) {}
  ~SharedCounter() { munmap(count_, sizeof *count_); }
  SharedCounter(const SharedCounter&) = delete;
  SharedCounter& operator=(const SharedCounter&) = delete;

  int next() { return (*count_)++; }

 private:
  std::atomic<int>* count_;
};

/// Has a crew do the tasks from 0 on, and goes on after failures.
inline std::vector<Outcome> runAll(Crew& crew, std::size_t count,
                                   const std::function<void(const Outcome&)>& also = nullptr) {
  std::vector<Task> tasks(count);
  std::iota(tasks.begin(), tasks.end(), 0);
  std::vector<Outcome> outcomes;
  Scheduler scheduler(tasks, crew,
                      [&](const Outcome& outcome) {
                        outcomes.push_back(outcome);
                        if (also) also(outcome);
                      },
                      {.keepsGoing = true});
  scheduler.run([] { return false; });
  return outcomes;
}

}  // namespace zdb::sweep
