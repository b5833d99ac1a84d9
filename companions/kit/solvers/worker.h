// A thread that runs one task at a time for its owner.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace zdb::kit {

/// Runs tasks in its own thread, always the same one, while the caller waits.
class Worker {
 public:
  Worker() : thread_([this] { work(); }) {}
  ~Worker() {
    run(nullptr);
    thread_.join();
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Runs a task and returns when it is done. An empty task ends the thread.
  /// REQUIRES the task does not throw.
  void run(std::function<void()> task) {
    std::unique_lock lock(mutex_);
    task_ = std::move(task);
    hasTask_ = true;
    changed_.notify_one();
    changed_.wait(lock, [this] { return !hasTask_; });
  }

 private:
  void work() {
    std::unique_lock lock(mutex_);
    for (bool isOpen = true; isOpen;) {
      changed_.wait(lock, [this] { return hasTask_; });
      isOpen = static_cast<bool>(task_);
      if (isOpen) task_();
      hasTask_ = false;
      changed_.notify_one();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> task_;
  bool hasTask_ = false;
  std::thread thread_;  ///< declared last because it uses the others
};

}  // namespace zdb::kit
