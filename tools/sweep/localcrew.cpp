#include "sweep/localcrew.h"

#include <poll.h>

#include <utility>

#include "contract/packing.h"
#include "sweep/serve.h"

namespace zdb::sweep {

namespace {

constexpr int kPatience = 100;  // milliseconds

}  // namespace

LocalCrew::LocalCrew(std::size_t workers, Work work) : work_(std::move(work)), workers_(workers) {}

std::string LocalCrew::fill(std::size_t worker) {
  workers_[worker] = {};
  std::erase_if(events_, [&](const Event& event) { return event.worker == worker; });
  try {
    workers_[worker].process = ChildProcess([this](int socket) {
      for (Worker& other : workers_) other.process.release();
      return serve(socket, work_) ? 0 : 1;
    });
    return {};
  } catch (const CrewError& failure) {
    return failure.what();
  }
}

void LocalCrew::send(std::size_t worker, std::span<const Task> tasks) {
  Message message;
  message.tasks.assign(tasks.begin(), tasks.end());
  sendMessage(workers_[worker].process.socket(), message);
}

Event LocalCrew::wait(int alsoFrom) {
  if (events_.empty()) poll(alsoFrom);
  if (events_.empty()) return {};
  Event event = std::move(events_.front());
  events_.pop_front();
  return event;
}

void LocalCrew::poll(int alsoFrom) {
  std::vector<pollfd> sockets;  // negative ones are passed over
  for (const Worker& worker : workers_) sockets.push_back({worker.process.socket(), POLLIN, 0});
  sockets.push_back({alsoFrom, POLLIN, 0});
  if (::poll(sockets.data(), sockets.size(), kPatience) <= 0) return;
  for (std::size_t i = 0; i < workers_.size(); ++i) {
    if (sockets[i].revents != 0) receive(i);
  }
}

void LocalCrew::receive(std::size_t worker) {
  const bool isOpen =
      receiveInto(workers_[worker].stream, workers_[worker].process.socket(), false);
  try {
    takeMessages(worker);
  } catch (const contract::CutError&) {
    return bury(worker, "bytes that are not a message");
  }
  if (!isOpen && workers_[worker].process.exists()) bury(worker, "");
}

void LocalCrew::takeMessages(std::size_t worker) {
  while (auto message = workers_[worker].stream.next()) {
    auto event = eventOf(std::move(*message));
    if (!event) throw contract::CutError();
    if (event->kind == Event::Kind::Death) return bury(worker, event->text);
    event->worker = worker;
    events_.push_back(std::move(*event));
  }
}

/// `how` is what it said itself, or did wrong; otherwise the system knows.
void LocalCrew::bury(std::size_t worker, const std::string& how) {
  const int status = workers_[worker].process.end();
  workers_[worker].stream = {};
  events_.push_back({.kind = Event::Kind::Death,
                     .worker = worker,
                     .text = how.empty() ? describeEnd(status) : how});
}

}  // namespace zdb::sweep
