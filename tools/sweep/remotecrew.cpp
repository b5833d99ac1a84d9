#include "sweep/remotecrew.h"

#include <utility>

#include "contract/packing.h"

namespace zdb::sweep {

RemoteCrew::RemoteCrew(Lines& lines, std::size_t workersEach, std::string lineName)
    : lines_(lines),
      each_(workersEach),
      lineName_(std::move(lineName)),
      supervisors_(lines.size()),
      workers_(lines.size() * workersEach) {
  const std::string start =
      packed({.kind = Message::Kind::Start, .worker = static_cast<std::uint32_t>(workersEach)});
  for (std::size_t line = 0; line < lines_.size(); ++line) lines_.send(line, start);
}

std::string RemoteCrew::name(std::size_t worker) const {
  const std::size_t line = lineOf(worker);
  std::string name = supervisors_[line].machine + ':' + std::to_string(line);
  if (each_ > 1) name += '.' + std::to_string(worker % each_ + 1);
  return name;
}

// What the earlier worker has sent may still be on its way.
std::string RemoteCrew::fill(std::size_t worker) {
  std::erase_if(events_, [&](const Event& event) { return event.worker == worker; });
  ++workers_[worker];
  send(worker, {.kind = Message::Kind::Fill});
  return {};
}

void RemoteCrew::send(std::size_t worker, std::span<const Task> tasks) {
  Message message;
  message.tasks.assign(tasks.begin(), tasks.end());
  send(worker, std::move(message));
}

void RemoteCrew::send(std::size_t worker, Message message) {
  message.worker = static_cast<std::uint32_t>(worker % each_);
  message.generation = workers_[worker];
  lines_.send(lineOf(worker), packed(message));
}

Event RemoteCrew::wait() {
  if (events_.empty()) {
    if (const auto piece = lines_.receive()) {
      if (piece->bytes.empty()) fail(piece->line, "its supervisor has ended");
      supervisors_[piece->line].stream.add(piece->bytes);
      try {
        while (auto message = supervisors_[piece->line].stream.next()) {
          take(piece->line, std::move(*message));
        }
      } catch (const contract::CutError& wrong) {
        fail(piece->line, wrong.what());
      }
    }
  }
  if (events_.empty()) return {};
  Event event = std::move(events_.front());
  events_.pop_front();
  return event;
}

void RemoteCrew::take(std::size_t line, Message message) {
  if (message.kind == Message::Kind::Broken) fail(line, message.text);
  if (message.kind == Message::Kind::Ready) {
    supervisors_[line].machine = message.text;
    return;
  }
  const std::uint32_t generation = message.generation;
  auto event = eventOf(std::move(message));
  if (!event || event->worker >= each_) throw contract::CutError();
  event->worker += line * each_;
  if (generation == workers_[event->worker]) events_.push_back(std::move(*event));
}

void RemoteCrew::fail(std::size_t line, const std::string& why) const {
  const std::string& machine = supervisors_[line].machine;
  throw CrewError(lineName_ + ' ' + std::to_string(line) +
                  (machine.empty() ? "" : " (" + machine + ")") + ": " + why);
}

}  // namespace zdb::sweep
