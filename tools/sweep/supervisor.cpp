#include "sweep/supervisor.h"

#include <unistd.h>

#include <array>
#include <vector>

#include "sweep/localcrew.h"
#include "sweep/serve.h"

namespace zdb::sweep {

namespace {

std::string machineName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "?";
}

class Supervisor {
 public:
  explicit Supervisor(int socket) : socket_(socket) {}

  void run(const std::function<Work()>& prepare) {
    for (;;) {
      while (const auto message = commands_.next()) obey(*message, prepare);
      if (!crew_) {
        if (!receiveInto(commands_, socket_, true)) return;
        continue;
      }
      const Event event = crew_->wait(socket_);
      if (event.kind != Event::Kind::Nothing && !tell(event)) return;
      if (!receiveInto(commands_, socket_, false)) return;
    }
  }

 private:
  void obey(const Message& message, const std::function<Work()>& prepare) {
    if (message.kind == Message::Kind::Start && !crew_) {
      crew_.emplace(message.worker, prepare());
      generations_.resize(message.worker);
      sendMessage(socket_, {.kind = Message::Kind::Ready, .text = machineName()});
      return;
    }
    if (!crew_ || message.worker >= generations_.size()) throw CrewError("a senseless message");
    if (message.kind == Message::Kind::Tasks) crew_->send(message.worker, message.tasks);
    if (message.kind != Message::Kind::Fill) return;
    const std::string refusal = crew_->fill(message.worker);
    if (!refusal.empty()) throw CrewError(refusal);
    generations_[message.worker] = message.generation;
  }

  bool tell(const Event& event) {
    Message message = messageOf(event);
    message.generation = generations_[event.worker];
    return sendMessage(socket_, message);
  }

  int socket_;
  MessageStream commands_;
  std::vector<std::uint32_t> generations_;  ///< of the workers
  std::optional<LocalCrew> crew_;
};

}  // namespace

void supervise(int socket, const std::function<Work()>& prepare) {
  try {
    Supervisor(socket).run(prepare);
  } catch (const std::bad_alloc&) {
    sendMessage(socket, {.kind = Message::Kind::Broken, .text = "not enough memory"});
  } catch (const std::exception& failure) {
    sendMessage(socket, {.kind = Message::Kind::Broken, .text = failure.what()});
  }
}

}  // namespace zdb::sweep
