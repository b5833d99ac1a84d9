// Workers that exist only on paper: what they do, when and whether they die follows from a plan.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "sweep/crew.h"

namespace zdb::sweep {

/// Simulates workers with clocks of their own. The next event is that of the busy worker whose
/// clock is earliest, or what `pick` says.
class FakeCrew : public Crew {
 public:
  enum class Fate {
    DieBefore,  ///< the result, in whatever way: no result, or a part of one
    DieAfter,
    Fail,
    Babble,  ///< sends the result of another task
  };

  explicit FakeCrew(std::size_t workers) : places_(workers) {}

  std::map<Task, std::deque<Fate>> fates;        ///< of a task, at each try
  std::map<Task, double> seconds;                ///< that tasks take; else a millisecond
  std::vector<double> slowness;                  ///< of workers; else 1
  std::size_t fills = ~std::size_t{0};           ///< that succeed
  std::function<std::size_t(std::size_t)> pick;  ///< one of so many busy workers
  std::string log;                               ///< chunks: first task and number

  std::size_t size() const override { return places_.size(); }

  std::string fill(std::size_t worker) override {
    if (fills == 0) return "no room";
    --fills;
    places_[worker].tasks.clear();
    places_[worker].isAlive = true;
    places_[worker].isDying = false;
    return {};
  }

  void send(std::size_t worker, std::span<const Task> tasks) override {
    Place& place = places_[worker];
    EXPECT_TRUE(place.isAlive && place.tasks.empty()) << "worker " << worker;
    EXPECT_FALSE(tasks.empty());
    place.tasks.assign(tasks.begin(), tasks.end());
    log += (log.empty() ? "" : " ") + std::to_string(tasks.front());
    if (tasks.size() > 1) log += '+' + std::to_string(tasks.size());
  }

  Event wait() override {
    std::vector<std::size_t> busy;
    for (std::size_t i = 0; i < places_.size(); ++i) {
      if (!places_[i].tasks.empty() || places_[i].isDying) busy.push_back(i);
    }
    EXPECT_FALSE(busy.empty()) << "waits for nothing";
    if (busy.empty()) throw CrewError("waits for nothing");
    std::size_t chosen = busy[0];
    for (const std::size_t i : busy) {
      if (places_[i].clock < places_[chosen].clock) chosen = i;
    }
    return step(pick ? busy[pick(busy.size())] : chosen);
  }

  /// When the last worker is ready, in seconds.
  double end() const {
    double last = 0;
    for (const Place& place : places_) last = std::max(last, place.clock);
    return last;
  }

 private:
  struct Place {
    std::deque<Task> tasks;
    double clock = 0;
    bool isAlive = false;
    bool isDying = false;  ///< after its last result
  };

  Event die(std::size_t worker) {
    places_[worker].tasks.clear();
    places_[worker].isAlive = places_[worker].isDying = false;
    return {.kind = Event::Kind::Death, .worker = worker, .text = "signal 9"};
  }

  Event step(std::size_t worker) {
    Place& place = places_[worker];
    if (place.isDying) return die(worker);
    const Task task = place.tasks.front();
    place.tasks.pop_front();
    const double cost = (seconds.contains(task) ? seconds[task] : 0.001) *
                        (worker < slowness.size() ? slowness[worker] : 1);
    place.clock += cost;
    Event event{.kind = Event::Kind::Result, .worker = worker, .task = task, .seconds = cost};
    event.text = "r" + std::to_string(task);
    std::deque<Fate>& fate = fates[task];
    if (fate.empty()) return event;
    const Fate now = fate.front();
    fate.pop_front();
    if (now == Fate::DieBefore) return die(worker);
    if (now == Fate::DieAfter) place.isDying = true;
    if (now == Fate::Babble) ++event.task;
    if (now == Fate::Fail) {
      event.kind = Event::Kind::Failure;
      event.text = "infinite";
    }
    return event;
  }

  std::vector<Place> places_;
};

}  // namespace zdb::sweep
