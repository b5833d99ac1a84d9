#include "sweep/scheduler.h"

#include <algorithm>
#include <span>
#include <utility>

namespace zdb::sweep {

Scheduler::Scheduler(std::vector<Task> tasks, Crew& crew, Sink sink, const Policy& policy)
    : tasks_(std::move(tasks)),
      crew_(crew),
      sink_(std::move(sink)),
      policy_(policy),
      chunkSize_(crew.size(), policy.chunkSeconds),
      workers_(crew.size()),
      end_(tasks_.size()) {}

Ending Scheduler::run(const std::function<bool()>& isInterrupted) {
  while (!hasFailed_ && delivered_ < tasks_.size()) {
    if (isInterrupted()) {
      deliverEarly();
      return Ending::Interrupted;
    }
    handOut();
    take(crew_.wait());
  }
  return hasFailed_ ? Ending::Failed : Ending::Done;
}

void Scheduler::handOut() {
  bool isBusy = false;
  for (std::size_t worker = 0; worker < workers_.size(); ++worker) {
    if (workers_[worker].chunk || handOut(worker)) isBusy = true;
  }
  if (isBusy) return;
  deliverEarly();
  throw CrewError("no worker is left" + (lastDeath_.empty() ? "" : ": " + lastDeath_));
}

/// False if there is nothing to do or nobody to do it.
bool Scheduler::handOut(std::size_t worker) {
  Place& place = workers_[worker];
  if (place.isLost) return false;
  const std::optional<Chunk> chunk = takeChunk();
  if (!chunk) return false;
  // A task that may be blamed gets a worker that has done nothing before.
  const bool needsNew = !place.isFilled || chunk->stage == Chunk::Try::Alone;
  const std::string refusal = needsNew ? crew_.fill(worker) : std::string();
  if (!refusal.empty()) {
    lastDeath_ = refusal;
    place.isLost = true;
    again_.push_front(*chunk);
    return false;
  }
  place.isFilled = true;
  place.chunk = chunk;
  crew_.send(worker, std::span(tasks_).subspan(chunk->first, chunk->count));
  return true;
}

std::optional<Scheduler::Chunk> Scheduler::takeChunk() {
  while (!again_.empty()) {
    const Chunk chunk = again_.front();
    again_.pop_front();
    if (isWanted(chunk.first)) return chunk;
  }
  if (!isWanted(next_)) return std::nullopt;
  const std::size_t first = next_;
  next_ += chunkSize_.next(end_ - first);
  return Chunk{.first = first, .count = next_ - first};
}

void Scheduler::take(Event event) {
  switch (event.kind) {
    case Event::Kind::Nothing:
      break;
    case Event::Kind::Result:
    case Event::Kind::Failure:
      takeResult(event);
      break;
    case Event::Kind::Death:
      lose(event.worker, event.text);
      break;
  }
}

void Scheduler::takeResult(Event& event) {
  std::optional<Chunk>& chunk = workers_[event.worker].chunk;
  if (!chunk || tasks_[chunk->first] != event.task) {
    return lose(event.worker, "a result that nobody asked for");
  }
  const std::size_t place = chunk->first++;
  const int tries = chunk->tries;
  if (--chunk->count == 0) chunk.reset();
  chunkSize_.learn(event.seconds);
  finish(place, {.task = event.task,
                 .isFailed = event.kind == Event::Kind::Failure,
                 .content = std::move(event.text),
                 .seconds = event.seconds,
                 .worker = event.worker,
                 .tries = tries});
}

/// The place is filled again when there is work for it.
void Scheduler::lose(std::size_t worker, const std::string& how) {
  Place& place = workers_[worker];
  place.isFilled = false;
  lastDeath_ = how;
  const std::optional<Chunk> lost = std::exchange(place.chunk, std::nullopt);
  if (!lost || !isWanted(lost->first)) return;
  if (lost->stage != Chunk::Try::Alone) return redo(*lost);
  finish(lost->first, {.task = tasks_[lost->first],
                       .isFailed = true,
                       .endedWorker = true,
                       .content = "its worker ended, also when it was tried alone: " + how,
                       .worker = worker,
                       .tries = lost->tries});
}

/// REQUIRES chunk.stage != Chunk::Try::Alone.
void Scheduler::redo(const Chunk& chunk) {
  const int tries = chunk.tries + 1;
  if (chunk.stage == Chunk::Try::First && chunk.count > 1) {
    again_.push_back({chunk.first, chunk.count, Chunk::Try::Again, tries});
    return;
  }
  for (std::size_t i = 0; i < chunk.count; ++i) {
    again_.push_back({chunk.first + i, 1, Chunk::Try::Alone, tries});
  }
}

void Scheduler::finish(std::size_t place, Outcome outcome) {
  if (outcome.isFailed && !policy_.keepsGoing) end_ = std::min(end_, place);
  early_.emplace(place, std::move(outcome));
  deliver();
}

void Scheduler::deliver() {
  while (!early_.empty() && early_.begin()->first == delivered_ && !hasFailed_) {
    const auto first = early_.extract(early_.begin());
    ++delivered_;
    hasFailed_ = first.mapped().isFailed && !policy_.keepsGoing;
    sink_(first.mapped());
  }
}

/// What is done, however much is missing before it.
void Scheduler::deliverEarly() {
  for (const auto& [place, outcome] : early_) {
    if (isWanted(place)) sink_(outcome);
  }
}

}  // namespace zdb::sweep
