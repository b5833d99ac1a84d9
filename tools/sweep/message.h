// What passes between a scheduler's process and those of the workers, on whichever way: a stream
// of messages, each of which is whole or not there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sweep/crew.h"

namespace zdb::sweep {

struct Message {
  enum class Kind : char {
    // To a worker, or to the supervisor of some.
    Tasks = 'w',  ///< tasks to do, in this order
    Start = 's',  ///< prepare for work by `worker` workers, and say Ready
    Fill = 'n',   ///< replace a worker by a new one
    // From it.
    Result = 'r',
    Failure = 'f',  ///< no result; the text says why
    Death = 'd',    ///< the last one of a worker: it gives up, or was seen to end
    Ready = 'y',    ///< the text names the machine
    Broken = 'b',   ///< the last one of a supervisor; the text says why
  };

  Kind kind = Kind::Tasks;
  std::uint32_t worker = 0;
  std::uint32_t generation = 0;  ///< how many workers were in its place before
  std::vector<Task> tasks = {};
  double seconds = 0;
  std::string text = {};
};

/// REQUIRES that the event is not Nothing.
Message messageOf(Event event);
/// None for a message that does not come from a worker.
std::optional<Event> eventOf(Message message);

/// The message as bytes: its length, the fields, and the kind once more.
std::string packed(const Message& message);

/// Cuts a stream of bytes into messages. What a dead worker has sent in part stays behind.
class MessageStream {
 public:
  void add(std::string_view bytes) { bytes_ += bytes; }
  /// None if there is no whole one yet. Throws contract::CutError for what is not a message; the
  /// stream is of no use after that.
  std::optional<Message> next();

 private:
  std::string bytes_;
  std::size_t used_ = 0;
};

}  // namespace zdb::sweep
